#include "platform/regex/StringContainer.h"

#include "platform/regex/Characters.h"

namespace Kestrav {

void StringContainer::add(const std::string& string) {
  folded_.insert(Characters::fold(string));
  strings_.push_back(string);
}

bool StringContainer::contains(std::string_view string) const {
  return !folded_.empty() && folded_.count(Characters::fold(string)) != 0;
}

}  // namespace Kestrav
