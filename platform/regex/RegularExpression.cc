#include "platform/regex/RegularExpression.h"

#include "platform/common/Exception.h"
#include "platform/regex/Characters.h"
#include "platform/regex/StringPattern.h"

namespace Kestrav {

RegularExpression::RegularExpression(const std::string& text, bool ignoreCase)
    : text_(text), ignoreCase_(ignoreCase) {
  if (Characters::isUtf8(text)) {
    utf8_.emplace(text, Pcre::Options{.ignoreCase = ignoreCase, .utf8 = true});
  }
  const Pcre::BoundedProgram& program = utf8_ ? *utf8_ : onBytes();
  if (program.compiled()) return;
  throw Exception(program.error().message(), StringPattern::kDoesNotCompile, "RegularExpression")
      .stringParameter(text);
}

const Pcre::BoundedProgram& RegularExpression::onBytes() const {
  std::call_once(bytesOnce_,
                 [this] { bytes_.emplace(text_, Pcre::Options{.ignoreCase = ignoreCase_}); });
  return *bytes_;
}

Pcre::Status RegularExpression::search(std::string_view subject, std::string& error) const {
  Pcre::Result result{Pcre::Status::kNotUtf8, 0};
  if (utf8_) result = utf8_->search(subject);
  if (result.status == Pcre::Status::kNotUtf8) {
    const Pcre::BoundedProgram& program = onBytes();
    if (!program.compiled()) {
      error = "on a subject that is not UTF-8: " + program.error().reason();
      return Pcre::Status::kError;
    }
    result = program.search(subject);
    // An expression that begins with "(*UTF)" refuses single bytes.
    if (result.status == Pcre::Status::kNotUtf8) result.status = Pcre::Status::kError;
  }
  if (result.status == Pcre::Status::kError) error = result.reason();
  return result.status;
}

}  // namespace Kestrav
