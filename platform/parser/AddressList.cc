// EmailAddress::rfc5322ParseSet. GMime's parser of address lists skips bad entries silently,
// rewrites domains and leaks memory on some malformed entries. So this parser splits the list,
// rfc5321Parse parses the addresses, and GMime only decodes the display names.
#include <gmime/gmime.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "platform/common/Strings.h"
#include "platform/parser/EmailAddress.h"
#include "platform/parser/GMimeLibrary.h"
#include "platform/parser/MailboxBuilder.h"
#include "platform/parser/Rfc2047.h"
#include "platform/parser/Utf8.h"

namespace Kestrav {
namespace {

bool isBlank(char c) {
  return c == ' ' || c == '\t';
}

bool isBlank(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return isBlank(c); });
}

// One entry of the list, with blanks for comments.
struct Entry {
  std::string before;    // before the angle brackets; everything when there are none
  std::string brackets;  // between them
  std::string after;
  bool hasBrackets = false;
};

// Calls `visit` with the index of each character and the character that opened its quoted string or
// domain literal, 0 outside. Delimiters are inside.
template <typename Visit>
void visitCharacters(std::string_view text, Visit visit) {
  char opened = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (opened == 0) {
      opened = c == '"' || c == '[' ? c : 0;
      visit(i, opened);
      continue;
    }
    visit(i, opened);
    if (c == '\\' && i + 1 < text.size()) {
      visit(++i, opened);
    } else if (c == (opened == '"' ? '"' : ']')) {
      opened = 0;
    }
  }
}

// Words, quoted strings and dots (RFC 5322 phrase and obs-phrase).
bool isPhrase(std::string_view text) {
  bool valid = true;
  visitCharacters(text, [&](std::size_t i, char opened) {
    const char c = text[i];
    const bool isWord = isBlank(c) || c == '.' || isAtomOctet(c);
    valid = valid && (opened == '"' || (opened == 0 && isWord));
  });
  return valid;
}

// Blanks are allowed around an address, its dots and its @.
std::string withoutBlanks(std::string_view text) {
  std::string out;
  bool pending = false;
  visitCharacters(text, [&](std::size_t i, char opened) {
    const char c = text[i];
    if (opened == 0 && isBlank(c)) {
      pending = true;
      return;
    }
    const bool joins = (opened == 0 && (c == '.' || c == '@')) || out.empty() ||
                       out.back() == '.' || out.back() == '@';
    if (pending && !joins) out += ' ';
    pending = false;
    out += c;
  });
  return out;
}

std::string displayName(const std::string& phrase) {
  ensureGMime();
  std::string text = phrase;
  g_mime_utils_unquote_string(text.data());
  char* decoded = g_mime_utils_header_decode_phrase(nullptr, wordsInQ(text.c_str()).c_str());
  std::string name = printableUtf8(decoded ? decoded : "");
  g_free(decoded);
  std::replace(name.begin(), name.end(), '\t', ' ');
  stringTrim(name);
  return name;
}

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
    while (pos_ < text_.size()) readCharacter();
    if (place_ == Place::kBrackets) invalid("an angle bracket is not closed");
    endEntry();
    if (inGroup_) invalid("a group is not closed by a semicolon");
    if (result_.empty()) throw invalidAddress("the list holds no address", text_);
    return std::move(result_);
  }

 private:
  enum class Place { kBefore, kBrackets, kAfter };

  std::string& section() {
    return place_ == Place::kBefore     ? entry_.before
           : place_ == Place::kBrackets ? entry_.brackets
                                        : entry_.after;
  }

  void readCharacter() {
    const char c = text_[pos_];
    if (c == '"') return copyThrough('"', "a quoted string has no end");
    if (c == '[') return copyThrough(']', "a domain literal has no end");
    if (c == '(') return skipComment();
    ++pos_;
    if (c == '<') {
      if (place_ != Place::kBefore) return invalid("there are two angle brackets in one entry");
      entry_.hasBrackets = true;
      place_ = Place::kBrackets;
    } else if (c == '>') {
      if (place_ != Place::kBrackets) return invalid("an angle bracket is closed but not opened");
      place_ = Place::kAfter;
    } else if (place_ != Place::kBrackets && c == ',') {
      endEntry();
      afterGroup_ = false;
    } else if (place_ != Place::kBrackets && c == ':') {
      beginGroup();
    } else if (place_ != Place::kBrackets && c == ';') {
      endGroup();
    } else {
      section() += c;
    }
  }

  void copyThrough(char closing, const char* reason) {
    const std::size_t start = pos_++;
    while (pos_ < text_.size() && text_[pos_] != closing) pos_ += text_[pos_] == '\\' ? 2 : 1;
    if (pos_ >= text_.size()) {
      pos_ = text_.size();
      return invalid(reason);
    }
    ++pos_;
    section() += text_.substr(start, pos_ - start);
  }

  void skipComment() {
    std::size_t depth = 0;
    for (; pos_ < text_.size(); ++pos_) {
      const char c = text_[pos_];
      if (c == '\\') ++pos_;
      if (c == '(') ++depth;
      if (c == ')' && --depth == 0) break;
    }
    if (pos_ >= text_.size()) {
      pos_ = text_.size();
      return invalid("a comment has no end");
    }
    ++pos_;
    section() += ' ';
  }

  void beginGroup() {
    if (inGroup_ || afterGroup_) return invalid("a group is inside of a group");
    if (entry_.hasBrackets || isBlank(entry_.before) || !isPhrase(entry_.before)) {
      invalid("the name of a group is missing or malformed");
    } else if (!acceptGroups_) {
      invalid("groups are not accepted here");
    }
    startEntry();
    inGroup_ = true;
  }

  void endGroup() {
    if (!inGroup_) return invalid("a semicolon does not close a group");
    endEntry();
    inGroup_ = false;
    afterGroup_ = true;
  }

  void startEntry() {
    entry_ = Entry();
    place_ = Place::kBefore;
    malformed_ = false;
    start_ = pos_;
  }

  void endEntry() {
    const bool isEmpty = !entry_.hasBrackets && isBlank(entry_.before);
    if (!isEmpty && afterGroup_) invalid("something other than a comma follows a group");
    if (!isEmpty && !malformed_ && (acceptGroups_ || !inGroup_)) add();
    startEntry();
  }

  void add() {
    try {
      if (!entry_.hasBrackets) {
        result_.insert(EmailAddress::rfc5321Parse(withoutBlanks(entry_.before), false));
        return;
      }
      if (!isBlank(entry_.after)) return invalid("something follows the angle brackets");
      if (!isPhrase(entry_.before)) return invalid("the display name needs quotes");
      const auto address = EmailAddress::rfc5321Parse(withoutBlanks(entry_.brackets), false);
      std::string name = displayName(entry_.before);
      result_.insert(name.empty() ? address : MailboxBuilder::named(address, std::move(name)));
    } catch (const Exception&) {
      if (!skipInvalid_) throw;
    }
  }

  // Marks the current entry as invalid.
  void invalid(const char* reason) {
    malformed_ = true;
    if (!skipInvalid_) throw invalidAddress(reason, text_.substr(start_));
  }

  std::string_view text_;
  bool acceptGroups_;
  bool skipInvalid_;
  std::size_t pos_ = 0;
  std::size_t start_ = 0;  // of the current entry
  Entry entry_;
  Place place_ = Place::kBefore;
  bool malformed_ = false;  // the current entry
  bool inGroup_ = false;
  bool afterGroup_ = false;  // only blanks may follow until the next comma
  std::set<EmailAddress> result_;
};

}  // namespace

std::set<EmailAddress> EmailAddress::rfc5322ParseSet(const std::string& text, bool acceptGroups,
                                                     bool skipInvalid) {
  return AddressListParser(text, acceptGroups, skipInvalid).parse();
}

}  // namespace Kestrav
