#include "EmailAddressRewriter.h"

#include <ctemplate/template.h>
#include <ctemplate/template_dictionary.h>

#include <boost/smart_ptr/make_shared.hpp>
#include <memory>

#include "platform/common/Exception.h"
#include "platform/common/Mutex.h"
#include "platform/common/Strings.h"
#include "platform/common/Synchronized.h"
#include "platform/config/records/SharedRecords.h"
#include "profile/NullHandle.h"

namespace Kestrav {

namespace {

// Makes "%%" the marker on both sides. The blank after the tag appears in the rewritten text; the
// address parser skips it.
constexpr const char* kMarkers = "{{=%% %%=}} ";

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

}  // namespace

class _EmailAddressRewriter {
 public:
  explicit _EmailAddressRewriter(const std::string& pattern)
      : template_(
            ctemplate::Template::StringToTemplate(kMarkers + pattern, ctemplate::DO_NOT_STRIP)),
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
    if (address.isNull()) return result;
    // The dictionary only holds pointers to these strings.
    const std::string local = address.local();
    const std::string domain = address.domain();
    dictionary_.SetValueWithoutCopy("LOCAL", local);
    dictionary_.SetValueWithoutCopy("DOMAIN", domain);
    std::string text;
    template_->Expand(&text, &dictionary_);
    result = EmailAddress::rfc5321Parse(text, false);
    return result;
  }

 private:
  const std::unique_ptr<ctemplate::Template> template_;
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
  return EmailAddressRewriter(modified("%%LOCAL%%", local) + "@" + modified("%%DOMAIN%%", domain));
}

}  // namespace Kestrav
