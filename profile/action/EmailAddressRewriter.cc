#include "EmailAddressRewriter.h"

#include <ctemplate/template.h>
#include <ctemplate/template_dictionary.h>

#include <algorithm>
#include <boost/smart_ptr/make_shared.hpp>
#include <memory>
#include <set>
#include <string_view>

#include "platform/common/Exception.h"
#include "platform/common/LogCodes.h"
#include "platform/common/Logger.h"
#include "platform/common/Mutex.h"
#include "platform/common/NoDestructor.h"
#include "platform/common/Strings.h"
#include "platform/common/Synchronized.h"
#include "platform/config/records/SharedRecords.h"
#include "platform/parser/MailboxBuilder.h"
#include "profile/NullHandle.h"
#include "profile/action/StoredRewriter.h"

namespace Kestrav {

namespace {

// Makes "%%" the marker on both sides. The blank after the tag appears in the rewritten text; the
// address parser skips it.
constexpr const char* kMarkers = "{{=%% %%=}} ";
constexpr std::size_t kBlankOfMarkers = 1;

// Kinds of a modification.
constexpr std::uint32_t kPutBefore = 1;
constexpr std::uint32_t kPutAfter = 2;
constexpr std::uint32_t kReplace = 3;

std::string modified(const std::string& part, const cfg_as_email_address_modification_& change) {
  const std::string text(boundedText(change.text));
  switch (change.kind) {
    case kPutBefore:
      return text + part;
    case kPutAfter:
      return part + text;
    case kReplace:
      return text;
    default:
      return part;
  }
}

std::size_t blanksBefore(const std::string& pattern) {
  return std::min(pattern.find_first_not_of(" \t"), pattern.size());
}

// Whether this text was not seen before. Forgets all texts when there are too many.
bool isNew(const std::string& text) {
  constexpr std::size_t kMostTexts = 100;
  static NoDestructor<Mutex> mutex;
  static NoDestructor<std::set<std::string>> seen;
  Synchronized guard(*mutex);
  if (seen->contains(text)) return false;
  if (seen->size() >= kMostTexts) seen->clear();
  seen->insert(text);
  return true;
}

}  // namespace

// Without a template, it answers the null address.
class _EmailAddressRewriter {
 public:
  _EmailAddressRewriter() : dictionary_("") {}

  explicit _EmailAddressRewriter(const std::string& pattern)
      : template_(
            ctemplate::Template::StringToTemplate(kMarkers + pattern, ctemplate::DO_NOT_STRIP)),
        leadingBlanks_(kBlankOfMarkers + blanksBefore(pattern)),
        quotes_(std::string_view(pattern).substr(blanksBefore(pattern)).starts_with('"')),
        dictionary_("") {
    if (template_ == nullptr) {
      throw Exception("The pattern of an address rewriter does not compile.", Exception::kBadText,
                      "EmailAddressRewriter", 1)
          .stringParameter(pattern);
    }
  }

  EmailAddress rewrite(const EmailAddress& address) {
    EmailAddress result;
    Synchronized guard(mutex_);
    if (address.isNull() || template_ == nullptr) return result;
    // The dictionary only holds pointers to these strings.
    const std::string local = address.local();
    const std::string domain = address.domain();
    dictionary_.SetValueWithoutCopy("LOCAL", local);
    dictionary_.SetValueWithoutCopy("DOMAIN", domain);
    std::string text;
    template_->Expand(&text, &dictionary_);
    if (address.address().starts_with('"')) text = quoted(text);
    result = EmailAddress::rfc5321Parse(text, false);
    return result;
  }

 private:
  // The expanded text with its local part, up to the last "@", as a quoted string.
  std::string quoted(const std::string& text) const {
    const std::size_t end = text.rfind('@');
    if (end == std::string::npos || end < leadingBlanks_) return text;
    std::string_view local(text.data() + leadingBlanks_, end - leadingBlanks_);
    if (quotes_ && local.size() >= 2 && local.back() == '"') {
      local = local.substr(1, local.size() - 2);
    }
    return quotedText(local) + text.substr(end);
  }

  const std::unique_ptr<ctemplate::Template> template_;
  const std::size_t leadingBlanks_ = 0;       // of an expanded text
  const bool quotes_ = false;                 // the pattern begins with a quotation mark
  ctemplate::TemplateDictionary dictionary_;  // guarded by mutex_
  Mutex mutex_;
};

EmailAddressRewriter::EmailAddressRewriter(const std::string& pattern)
    : rewriter_(boost::make_shared<_EmailAddressRewriter>(pattern)) {}

EmailAddress EmailAddressRewriter::operator()(const EmailAddress& address) const {
  if (address.isNull()) return EmailAddress();
  if (rewriter_ == nullptr) throwNullHandle("EmailAddressRewriter");
  return rewriter_->rewrite(address);
}

EmailAddressRewriter EmailAddressRewriter::adapter(
    const cfg_as_email_address_modification_& local,
    const cfg_as_email_address_modification_& domain) {
  const auto compiled =
      storedRewriter(modified("%%LOCAL%%", local) + "@" + modified("%%DOMAIN%%", domain));
  if (compiled) return *compiled;
  EmailAddressRewriter unusable;
  unusable.rewriter_ = boost::make_shared<_EmailAddressRewriter>();
  return unusable;
}

std::optional<EmailAddressRewriter> storedRewriter(const std::string& pattern) {
  try {
    return EmailAddressRewriter(pattern);
  } catch (const Exception&) {
    if (isNew(pattern))
      Logger::instance(false).log(LogCode::kRewriterUnusable, "%s", pattern.c_str());
    return std::nullopt;
  }
}

}  // namespace Kestrav
