// Patterns of rewritten addresses. %%LOCAL%% and %%DOMAIN%% are replaced by the parts of the
// address.
#pragma once

#include <optional>
#include <string>

#include "platform/config/records/Forward.h"
#include "platform/config/text/Syntax.h"

namespace Kestrav::Config::Text {

// A pattern, or a part of one, that does not compile.
std::optional<Mistake> checkRewriting(const std::string& pattern);

// A pattern that makes no address of an ordinary one. REQUIRES: it compiles.
std::optional<Mistake> checkRewritten(const std::string& pattern);

// The pattern of an action's rewrite-local and rewrite-domain; nothing for other records.
std::optional<std::string> rewritingOf(const RecordType& type, const void* record);

}  // namespace Kestrav::Config::Text
