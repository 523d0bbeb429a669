// Rewriters of texts from configuration records.
#pragma once

#include <optional>
#include <string>

#include "EmailAddressRewriter.h"

namespace Kestrav {

// None for a text that does not compile; each such text is logged once in a process
// (LogCode::kRewriterUnusable). The caller goes on without the rewriter.
std::optional<EmailAddressRewriter> storedRewriter(const std::string& pattern);

}  // namespace Kestrav
