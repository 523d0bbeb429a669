#include "platform/config/text/Syntax.h"

#include <gtest/gtest.h>

#include <cmath>

#include "platform/common/Exception.h"
#include "platform/config/records/Field.h"
#include "platform/config/records/Tables.h"

using namespace Kestrav::Config;
using namespace Kestrav::Config::Text;

TEST(Syntax, TextsAreHeldAgainstTheirForm) {
  const struct {
    const char* syntax;
    const char* text;
    bool right;
  } cases[] = {
      {"pattern", "*.example.com", true},
      {"pattern", "[a-", false},
      {"regex", "^a(b|c)$", true},
      {"regex", "a(b", false},
      {"pattern-list", "*.exe, *.ws[fch],", true},
      {"pattern-list", "*.exe,[", false},
      {"regex-list", "application/vnd.ms-(?=word|excel)", true},
      {"regex-list", "text/(", false},
      {"email", "user@example.com", true},
      {"email", "user", false},
      {"email-list", "A <a@example.com>, b@example.com", true},
      {"email-list", "a@example.com, @", false},
      {"ip-mask", "192.0.2.0/24", true},
      {"ip-mask", "192.0.2.0/33", false},
      {"ip-mask", "any", false},
      {"host", "mail.example.com", true},
      {"host", "mail.example.com:25", true},
      {"host", "192.0.2.1", true},
      {"host", "[2001:db8::1]", true},
      {"host", "mail example", false},
      {"host", "mail.example.com:0", false},
      {"domain", "example.com", true},
      {"domain", "example..com", false},
      {"domain", "-a.example", false},
      {"local-part", "release-ctrl", true},
      {"local-part", "release@example.com", false},
      {"address-entry", " example.com ", true},
      {"address-entry", "  ", false},
      {"header-name", "X-Spam", true},
      {"header-name", "X Spam", false},
      {"header-name", "X:", false},
      {"header-value", "yes", true},
      {"header-value", "yes\r\nBcc: x", false},
      {"rewrite-text", "spam-%%LOCAL%%", true},
      {"rewrite-text", "100%", true},
      {"rewrite-text", "%%LOCAL%", false},
      {"rewrite-text", "%%USER%%", false},
      {"rewrite-template", "%%LOCAL%%@example.com", true},
      {"rewrite-template", "%%LOCAL%%", false},
      {"rewrite-template", "%%LOCAL%%@%%DOMAIN", false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.syntax) + ": " + c.text);
    const auto mistake = checkSyntax(c.syntax, c.text);
    EXPECT_EQ(!mistake.has_value(), c.right);
    if (mistake) {
      EXPECT_FALSE(mistake->what.full().empty());
      EXPECT_FALSE(mistake->wouldBeRight.empty());
    }
  }
}

TEST(Syntax, EveryFormThatAFieldDemandsIsKnown) {
  for (const Table& table : tables()) {
    for (const Field& field : table.type->fields) {
      EXPECT_NO_THROW(checkSyntax(field.syntax, "x")) << table.key << "." << field.name;
      if (field.element == nullptr) continue;
      for (const Field& part : field.element->fields) {
        EXPECT_NO_THROW(checkSyntax(part.syntax, "x")) << table.key << "." << part.name;
      }
    }
  }
  EXPECT_THROW(checkSyntax("poem", "x"), Kestrav::Exception);
}

TEST(Syntax, WholeNumbers) {
  EXPECT_EQ(parseInteger("0"), 0);
  EXPECT_EQ(parseInteger("-42"), -42);
  EXPECT_EQ(parseInteger("+7"), 7);
  EXPECT_EQ(parseInteger("0x1F"), 31);
  EXPECT_EQ(parseInteger("9223372036854775807"), 9223372036854775807LL);
  for (const char* text :
       {"", "-", "+-1", "--1", "1.5", "1e3", "0x", "9223372036854775808", "1 ", "ten"}) {
    EXPECT_EQ(parseInteger(text), std::nullopt) << text;
  }
}

TEST(Syntax, RealNumbers) {
  EXPECT_EQ(parseReal("95"), 95.0);
  EXPECT_EQ(parseReal("-1.5e2"), -150.0);
  EXPECT_TRUE(std::isnan(*parseReal(".nan")));
  EXPECT_EQ(parseReal("-.inf"), -std::numeric_limits<double>::infinity());
  for (const char* text : {"", "x", "1,5", "inf", "nan", "1e999"}) {
    EXPECT_EQ(parseReal(text), std::nullopt) << text;
  }
}

TEST(Syntax, Switches) {
  for (const char* text : {"on", "On", "true", "yes"}) EXPECT_EQ(parseBoolean(text), true);
  for (const char* text : {"off", "FALSE", "no"}) EXPECT_EQ(parseBoolean(text), false);
  for (const char* text : {"", "1", "y", "enabled"}) EXPECT_EQ(parseBoolean(text), std::nullopt);
}

TEST(Syntax, TextsInMessagesAreShortAndOnOneLine) {
  EXPECT_EQ(shown("abc").full(), "'abc'");
  EXPECT_EQ(shown("a\nb").full(), "'a b'");
  EXPECT_EQ(shown(std::string(100, 'x')).full(), "'" + std::string(60, 'x') + "...'");
}
