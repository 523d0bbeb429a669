// EmailAddress::rfc5322ParseSet. The list is cut at its commas and groups here, so that an entry
// which the mail library would pass over in silence can be named; each entry is then the library's
// to read.
#include <gmime/gmime.h>

#include <memory>
#include <string_view>

#include "common/Strings.h"
#include "parser/EmailAddress.h"
#include "parser/GMimeLibrary.h"
#include "parser/MailboxBuilder.h"
#include "parser/Utf8.h"

namespace Kestrav {
namespace {

constexpr std::size_t kLongestEntry = 8192;  // octets; a name, comments and one address

struct FreeOptions {
  void operator()(GMimeParserOptions* options) const { g_mime_parser_options_free(options); }
};
struct Unreference {
  void operator()(InternetAddressList* list) const { g_object_unref(list); }
};

// The nesting that hides a comma, colon or semicolon from the list's own syntax.
class Nesting {
 public:
  // True when `c` stands outside of quotes, comments and brackets and is none of their delimiters.
  bool isOutside(char c) {
    if (escaped_) return escaped_ = false;
    if (c == '\\' && (quoted_ || comments_ > 0 || literal_)) {
      escaped_ = true;
      return false;
    }
    if (comments_ > 0) {
      comments_ += c == '(' ? 1 : c == ')' ? -1 : 0;
      return false;
    }
    if (quoted_) {
      quoted_ = c != '"';
      return false;
    }
    if (literal_) {
      literal_ = c != ']';
      return false;
    }
    if (c == '"') return !(quoted_ = true);
    if (c == '(') return !(comments_ = 1);
    if (c == '[') return !(literal_ = true);
    if (c == '<') return !(angle_ = true);
    if (c == '>') return angle_ = false;
    return !angle_;
  }

 private:
  bool escaped_ = false;
  bool quoted_ = false;
  bool literal_ = false;
  bool angle_ = false;
  long comments_ = 0;
};

class AddressListParser {
 public:
  AddressListParser(std::string_view text, bool acceptGroups, bool skipInvalid)
      : text_(text), acceptGroups_(acceptGroups), skipInvalid_(skipInvalid) {}

  std::set<EmailAddress> parse() {
    for (std::size_t pos = 0; pos < text_.size();) {
      const char32_t c = nextCodePoint(text_, pos);
      if (c == kIllFormed) throw invalidAddress("the list is not well-formed UTF-8", text_);
      if (isControl(c) && c != '\t')
        throw invalidAddress("the list holds a control character", text_);
    }
    ensureGMime();
    options_.reset(g_mime_parser_options_new());
    g_mime_parser_options_set_address_compliance_mode(options_.get(), GMIME_RFC_COMPLIANCE_STRICT);
    g_mime_parser_options_set_warning_callback(options_.get(), noteWarning, this);
    split();
    if (result_.empty()) throw invalidAddress("the list holds no address", text_);
    return std::move(result_);
  }

 private:
  static void noteWarning(gint64, GMimeParserWarning, const gchar*, gpointer self) {
    static_cast<AddressListParser*>(self)->warned_ = true;
  }

  void split() {
    Nesting nesting;
    std::size_t start = 0;
    bool inGroup = false;
    bool afterGroup = false;  // only blanks may follow until the next comma
    for (std::size_t i = 0; i < text_.size(); ++i) {
      const char c = text_[i];
      if (!nesting.isOutside(c)) continue;
      const std::string_view entry = text_.substr(start, i - start);
      if (c == ':' && !inGroup && !afterGroup) {
        inGroup = true;
        if (!acceptGroups_) invalid("groups are not accepted here", entry);
      } else if (c == ';' && inGroup) {
        add(entry, inGroup, false);
        inGroup = false;
        afterGroup = true;
      } else if (c == ',') {
        add(entry, inGroup, afterGroup);
        afterGroup = false;
      } else {
        continue;
      }
      start = i + 1;
    }
    add(text_.substr(start), inGroup, afterGroup);
    if (inGroup) invalid("a group is not closed by a semicolon", text_);
  }

  void add(std::string_view entry, bool inGroup, bool afterGroup) {
    if (entry.find_first_not_of(" \t") == std::string_view::npos) return;
    if (afterGroup) return invalid("something other than a comma follows a group", entry);
    if (inGroup && !acceptGroups_) return;
    if (entry.size() > kLongestEntry) return invalid("an entry of the list is too long", entry);
    try {
      result_.insert(mailbox(std::string(entry)));
    } catch (const Exception&) {
      if (!skipInvalid_) throw;
    }
  }

  void invalid(const std::string& reason, std::string_view entry) const {
    if (!skipInvalid_) throw invalidAddress(reason, entry);
  }

  EmailAddress mailbox(const std::string& entry) {
    warned_ = false;
    const std::unique_ptr<InternetAddressList, Unreference> list(
        internet_address_list_parse(options_.get(), entry.c_str()));
    if (!list || warned_ || internet_address_list_length(list.get()) != 1) {
      throw invalidAddress("an entry of the list is no mailbox", entry);
    }
    InternetAddress* address = internet_address_list_get_address(list.get(), 0);
    if (!INTERNET_ADDRESS_IS_MAILBOX(address)) {
      throw invalidAddress("an entry of the list is no mailbox", entry);
    }
    const EmailAddress bare = EmailAddress::rfc5321Parse(written(entry, address), false);
    const char* name = internet_address_get_name(address);
    std::string shown = printableUtf8(name ? name : "");
    stringTrim(shown);
    return shown.empty() ? bare : MailboxBuilder::named(bare, std::move(shown));
  }

  // The library offers an address with its "xn--" labels decoded, and with its other labels
  // encoded: the one that was written is the one meant.
  static std::string written(const std::string& entry, InternetAddress* address) {
    auto* mailbox = INTERNET_ADDRESS_MAILBOX(address);
    const bool encoded = stringToLower(entry).find("xn--") != std::string::npos;
    const char* text = encoded ? internet_address_mailbox_get_idn_addr(mailbox)
                               : internet_address_mailbox_get_addr(mailbox);
    return text ? text : "";
  }

  std::string_view text_;
  bool acceptGroups_;
  bool skipInvalid_;
  bool warned_ = false;
  std::unique_ptr<GMimeParserOptions, FreeOptions> options_;
  std::set<EmailAddress> result_;
};

}  // namespace

std::set<EmailAddress> EmailAddress::rfc5322ParseSet(const std::string& text, bool acceptGroups,
                                                     bool skipInvalid) {
  return AddressListParser(text, acceptGroups, skipInvalid).parse();
}

}  // namespace Kestrav
