// Everything that this process answers about the sets, from whatever it has cached, as text: two
// processes that hold the same configuration give the same text.
#pragma once

#include <string>

namespace Kestrav::Testing {

std::string allAnswers();

}  // namespace Kestrav::Testing
