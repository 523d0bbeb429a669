// Wildcards through StringPattern, and the shapes that PatternContainer indexes.
#include "platform/regex/Wildcard.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "platform/common/Exception.h"
#include "platform/regex/Characters.h"
#include "platform/regex/StringPattern.h"

namespace Kestrav {
namespace {

struct Case {
  const char* pattern;
  std::string subject;
  bool matches;
};

void check(const std::vector<Case>& cases, bool ignoreCase) {
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.pattern) + " on " + c.subject);
    EXPECT_EQ(StringPattern(c.pattern, ignoreCase, false).matches(c.subject), c.matches);
  }
}

TEST(Wildcard, MatchesTheWholeSubject) {
  check({{"", "", true},
         {"", "a", false},
         {"abc", "abc", true},
         {"abc", "abcd", false},
         {"abc", "xabc", false},
         {"abc", "ab", false},
         {"*", "", true},
         {"*", "anything\nat all", true},
         {"**", "", true},
         {"?", "", false},
         {"?", "a", true},
         {"?", "ab", false},
         {"a*", "a", true},
         {"a*", "abc", true},
         {"a*", "ba", false},
         {"*c", "c", true},
         {"*c", "abc", true},
         {"*c", "abcd", false},
         {"a*c", "ac", true},
         {"a*c", "abbbc", true},
         {"a*c", "abbb", false},
         {"*ab*", "xxabyy", true},
         {"*ab*", "xxaybb", false},
         {"*a?c*", "xxabcx", true},
         {"a*b*c", "a-b-b-c", true},
         {"a*b*c", "a-c-b", false},
         {"*a", "aaab", false},
         {"*aab", "aaaab", true},
         {"a**?**b", "ab", false},
         {"a**?**b", "axb", true}},
        false);
}

TEST(Wildcard, OtherCharactersStandForThemselves) {
  check({{"*.exe", "a.exe", true},
         {"*.exe", "a-exe", false},
         {"a.c", "abc", false},
         {"a+", "a+", true},
         {"a+", "aa", false},
         {"(a|b)", "(a|b)", true},
         {"(a|b)", "a", false},
         {"^a$", "^a$", true},
         {"^a$", "a", false},
         {"{a,b}", "a", false},
         {"a]", "a]", true},
         {"/*", "/x/y", true}},
        false);
}

TEST(Wildcard, BackslashTakesTheMeaningAway) {
  check({{R"(\*)", "*", true},
         {R"(\*)", "a", false},
         {R"(\?a)", "?a", true},
         {R"(\?a)", "ba", false},
         {R"(\[a])", "[a]", true},
         {R"(\[a])", "a", false},
         {R"(\\)", "\\", true},
         {R"(\a)", "a", true},
         {R"([\]a]x)", "]x", true},
         {R"([a\-c])", "b", false},
         {R"([a\-c])", "-", true}},
        false);
}

TEST(Wildcard, ClassesListCharactersAndRanges) {
  check({{"*.ws[fch]", "a.wsf", true},
         {"*.ws[fch]", "a.wsh", true},
         {"*.ws[fch]", "a.wsx", false},
         {"*.ws[fch]", "a.ws", false},
         {"*.do[ct][xm]", "a.dotm", true},
         {"*.do[ct][xm]", "a.dot", false},
         {"[a-c]", "b", true},
         {"[a-c]", "d", false},
         {"[a-cx-z5]", "y", true},
         {"[a-cx-z5]", "5", true},
         {"[!a-c]", "d", true},
         {"[!a-c]", "b", false},
         {"[^a-c]", "d", true},
         {"[^a-c]", "a", false},
         {"[a!]", "!", true},
         {"[a^]", "^", true},
         {"[]a]", "]", true},
         {"[!]a]", "]", false},
         {"[!]a]", "b", true},
         {"[-a]", "-", true},
         {"[a-]", "-", true},
         {"[a-]", "b", false},
         {"[*?]", "*", true},
         {"[*?]", "x", false},
         {"[[]", "[", true},
         {"[!a]", "\n", true},
         {"[!a]", "", false}},
        false);
}

TEST(Wildcard, LetterCaseCountsUnlessIgnored) {
  check({{"*.EXE", "a.exe", false}, {"A*", "a", false}, {"[a-c]", "B", false}}, false);
  check({{"*.EXE", "a.exe", true},
         {"*.exe", "A.EXE", true},
         {"A*", "ab", true},
         {"a?C", "AxC", true},
         {"[a-c]x", "BX", true},
         {"[A-C]", "b", true},
         {"[!a-c]", "B", false},
         {"[Z-a]", "A", true},
         {"[Z-a]", "z", true},
         {"@", "`", false}},
        true);
}

TEST(Wildcard, ACharacterIsAUtf8SequenceOrAStrayByte) {
  check({{"?", "\xC3\xA9", true},
         {"??", "\xC3\xA9", false},
         {"?", "\xFF", true},
         {"?\xC3\xA9", "\xFF\xC3\xA9", true},
         {"[\xC3\xA0-\xC3\xBF]", "\xC3\xA9", true},
         {"[\xC3\xA0-\xC3\xBF]", "\xC3\x89", false},
         {"[\xC3\xA9]", "\xC3", false},
         {"[!a]", "\xE2\x82\xAC", true},
         {"[!a][!a]", "\xE2\x82\xAC", false},
         {"[\xFF]", "\xFF", true},
         {"[\xFE]", "\xFF", false},
         {"[a-\xFF]", "\xFE", true},
         {"*\xFF*",
          "a\xFF"
          "b",
          true},
         {"\xC3*", "\xC3\xA9", false},
         {"\xC3*",
          "\xC3"
          "a",
          true},
         {"*\xA9", "\xC3\xA9", false},
         {"*\xA9", "a\xA9", true},
         {"\xC3", "\xC3", true}},
        false);
}

TEST(Wildcard, LetterCaseBeyondAsciiIsIgnoredToo) {
  check({{"\xC3\x89t\xC3\xA9*", "\xC3\xA9T\xC3\x89.txt", true},
         {"*.\xC3\x89", "x.\xC3\xA9", true},
         {"[\xC3\x89]", "\xC3\xA9", true},
         {"[!\xC3\x89]", "\xC3\xA9", false},
         {"\xCE\xA3", "\xCF\x82", true},
         {"[\xCF\x82]", "\xCE\xA3", true},
         {"k", "\xE2\x84\xAA", false},
         {"[k]", "\xE2\x84\xAA", false},
         {"\xE2\x84\xAA", "k", false},
         {"[\xE2\x84\xAA]", "K", false},
         {"[\xE2\x84\xAA]", "\xE2\x84\xAA", true}},
        true);
  check({{"\xC3\x89", "\xC3\xA9", false}, {"[\xC3\x89]", "\xC3\xA9", false}}, false);
}

TEST(Wildcard, MalformedOnesAreRefused) {
  const struct {
    const char* pattern;
    const char* message;
  } cases[] = {
      {"ab\\", "wildcard does not compile: nothing follows the backslash at offset 2"},
      {"*.ws[fch", "wildcard does not compile: no \"]\" closes the class that starts at offset 4"},
      {"[", "wildcard does not compile: no \"]\" closes the class that starts at offset 0"},
      {"[]", "wildcard does not compile: no \"]\" closes the class that starts at offset 0"},
      {"a[!]", "wildcard does not compile: no \"]\" closes the class that starts at offset 1"},
      {"[a-", "wildcard does not compile: no \"]\" closes the class that starts at offset 0"},
      {"[a\\", "wildcard does not compile: nothing follows the backslash at offset 2"},
      {"x[z-a]", "wildcard does not compile: the range runs backwards at offset 2"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.pattern);
    try {
      const StringPattern pattern(c.pattern, true, false);
      FAIL() << "accepted";
    } catch (const Exception& e) {
      EXPECT_EQ(e.message(), c.message);
      EXPECT_EQ(e.code(), StringPattern::kDoesNotCompile);
      EXPECT_EQ(e.stringParameter(), c.pattern);
    }
  }
}

TEST(Wildcard, ManyStarsDoNotMultiplyTheWork) {
  std::string pattern;
  for (int i = 0; i < 200; ++i) pattern += "*a";
  pattern += "*b";
  const std::string subject(StringPattern::kMaxSubject, 'a');
  EXPECT_FALSE(StringPattern(pattern, false, false).matches(subject));
  EXPECT_TRUE(StringPattern(pattern, false, false).matches(subject.substr(1) + "b"));
}

TEST(Wildcard, ShapesAreRecognised) {
  using Shape = Wildcard::Shape;
  const struct {
    const char* pattern;
    Shape shape;
    const char* literal;
  } cases[] = {
      {"*", Shape::kAny, ""},
      {"***", Shape::kAny, ""},
      {"", Shape::kLiteral, ""},
      {"User@Example.COM", Shape::kLiteral, "user@example.com"},
      {"\xFF", Shape::kLiteral, "\xFF"},
      {"192.168.1.*", Shape::kPrefix, "192.168.1."},
      {"a\\**", Shape::kPrefix, "a*"},
      {"*@Example.com", Shape::kSuffix, "@example.com"},
      {"**.com", Shape::kSuffix, ".com"},
      {"*@*.Example.com", Shape::kAtAndTail, ".example.com"},
      {"*@*", Shape::kGeneral, ""},
      {"*@?.com", Shape::kGeneral, ""},
      {"*x*.com", Shape::kGeneral, ""},
      {"a*b", Shape::kGeneral, ""},
      {"*[a]", Shape::kGeneral, ""},
      {"*\xFF", Shape::kGeneral, ""},
      {"\xC3*", Shape::kGeneral, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.pattern);
    const Wildcard wildcard(c.pattern, true);
    EXPECT_EQ(wildcard.shape(), c.shape);
    EXPECT_EQ(wildcard.literal(), c.literal);
  }
}

TEST(Wildcard, LiterallyTakesEveryCharacterForItself) {
  const Wildcard wildcard = Wildcard::literally("A*[\\?", true);
  EXPECT_TRUE(wildcard.matches("a*[\\?"));
  EXPECT_FALSE(wildcard.matches("abc[\\x"));
  EXPECT_EQ(wildcard.shape(), Wildcard::Shape::kLiteral);
}

// The definition, in exponential time: a star tries every length.
bool naive(const std::u32string& pattern, const std::u32string& subject, std::size_t p = 0,
           std::size_t s = 0) {
  if (p == pattern.size()) return s == subject.size();
  if (pattern[p] == U'*') {
    for (std::size_t end = s; end <= subject.size(); ++end) {
      if (naive(pattern, subject, p + 1, end)) return true;
    }
    return false;
  }
  if (s == subject.size()) return false;
  if (pattern[p] == U'[') {  // always [X-Y] or [!X-Y] here
    const bool negated = pattern[p + 1] == U'!';
    const std::size_t first = p + (negated ? 2 : 1);
    const bool inside = pattern[first] <= subject[s] && subject[s] <= pattern[first + 2];
    return inside != negated && naive(pattern, subject, first + 4, s + 1);
  }
  if (pattern[p] != U'?' && pattern[p] != subject[s]) return false;
  return naive(pattern, subject, p + 1, s + 1);
}

std::u32string characters(std::string_view text) {
  std::u32string result;
  for (std::size_t position = 0; position < text.size();) {
    result += Characters::next(text, position);
  }
  return result;
}

TEST(Wildcard, AgreesWithTheDefinitionOnRandomPatterns) {
  std::mt19937 random(20240611);
  const std::vector<std::string> parts = {"*",     "*",      "?",           "a",    "b",
                                          "@",     ".",      "\xC3\xA9",    "\xC3", "\xA9",
                                          "[a-b]", "[!a-b]", "[b-\xC3\xA9]"};
  const std::vector<std::string> letters = {"a", "b", "c", "@", ".", "\xC3\xA9", "\xC3", "\xA9"};
  const auto make = [&random](const std::vector<std::string>& from, std::size_t most) {
    std::string text;
    for (auto n = random() % (most + 1); n != 0; --n) text += from[random() % from.size()];
    return text;
  };
  int hits = 0;
  for (int round = 0; round < 60000; ++round) {
    const std::string pattern = make(parts, 6);
    const std::string subject = make(letters, 7);
    const bool expected = naive(characters(pattern), characters(subject));
    hits += expected;
    ASSERT_EQ(StringPattern(pattern, false, false).matches(subject), expected)
        << pattern << " on " << subject;
    ASSERT_EQ(StringPattern(pattern, true, false).matches(subject), expected)
        << pattern << " on " << subject << ", case ignored";
  }
  EXPECT_GT(hits, 3000);
}

}  // namespace
}  // namespace Kestrav
