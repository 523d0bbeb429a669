// Regular expressions, lists, order and limits. For wildcards see WildcardTest.cc.
#include "platform/regex/StringPattern.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "platform/common/Exception.h"
#include "platform/common/LogCodes.h"
#include "platform/common/Logger.h"

namespace Kestrav {
namespace {

using testing::ElementsAre;

// Captures every logged message.
class Log {
 public:
  const std::vector<Logger::Message>& messages() const { return messages_; }

 private:
  std::vector<Logger::Message> messages_;
  std::shared_ptr<void> token_ = Logger::instance().capture(
      [this](const Logger::Message& message) { messages_.push_back(message); });
};

StringPattern expression(const std::string& text, bool ignoreCase = true) {
  return StringPattern(text, ignoreCase, true);
}

StringPattern wildcard(const std::string& text, bool ignoreCase = true) {
  return StringPattern(text, ignoreCase, false);
}

StringPattern listOf(const std::list<StringPattern>& members) {
  return StringPattern(members);
}

std::string many(std::size_t count, char c, const char* end) {
  std::string text(count, c);
  text += end;
  return text;
}

TEST(StringPattern, RegularExpressionIsSearchedFor) {
  const struct {
    const char* pattern;
    std::string subject;
    bool ignoreCase;
    bool matches;
  } cases[] = {
      {"b+", "abbc", false, true},
      {"^b+$", "abbc", false, false},
      {R"(\.jar$)", "x.jar", true, true},
      {R"(\.jar$)", "x.JAR", true, true},
      {R"(\.jar$)", "x.JAR", false, false},
      {R"(\.jar$)", "x.jar.txt", true, false},
      {R"(\.p(df|s)$)", "a.ps", true, true},
      {R"(\.p(df|s)$)", "a.pdfs", true, false},
      {R"(\.(ocx|msi|exe|com|dll|thmx|cmd|bat)$)", "Setup.Exe", true, true},
      {R"(\.html?$)", "index.htm", true, true},
      {"application/vnd.openxmlformats-officedocument.*",
       "application/vnd.openxmlformats-officedocument.wordprocessingml.document", true, true},
      {"application/ms*", "application/msword", true, true},
      {"application/ms*", "application/m", true, true},
      {"", "anything", true, true},
      {"", "", true, true},
      {"^$", "", true, true},
      {R"((a)\1)", "xaax", true, true},
      {"a.c", "a\nc", false, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.pattern) + " on " + c.subject);
    EXPECT_EQ(StringPattern(c.pattern, c.ignoreCase, true).matches(c.subject), c.matches);
  }
}

TEST(StringPattern, LookAheadWorks) {
  const auto pattern = expression("application/vnd.ms-(?=word|excel|powerp|works|publish|access)");
  EXPECT_TRUE(pattern.matches("application/vnd.ms-excel"));
  EXPECT_TRUE(pattern.matches("Application/VND.ms-PowerPoint"));
  EXPECT_FALSE(pattern.matches("application/vnd.ms-cab-compressed"));
  EXPECT_FALSE(pattern.matches("application/vnd.ms-"));
  EXPECT_TRUE(expression("foo(?!bar)").matches("foobaz"));
  EXPECT_FALSE(expression("foo(?!bar)").matches("foobar"));
}

TEST(StringPattern, NulBytesAreCharactersLikeOthers) {
  const std::string text("a\0b", 3);
  EXPECT_TRUE(wildcard(text).matches(text));
  EXPECT_FALSE(wildcard(text).matches("a"));
  EXPECT_TRUE(expression(text).matches(std::string("xa\0by", 5)));
  EXPECT_FALSE(expression(text).matches("xa"));
}

TEST(StringPattern, RegularExpressionReadsUtf8OrBytes) {
  EXPECT_TRUE(expression("^.$").matches("\xC3\xA9"));
  EXPECT_TRUE(expression("^..$").matches("\xC3\xFF"));
  EXPECT_FALSE(expression("^.$").matches("\xC3\xFF"));
  EXPECT_TRUE(expression("^\xC3\x89$").matches("\xC3\xA9"));
  EXPECT_FALSE(expression("^\xC3\x89$", false).matches("\xC3\xA9"));
  EXPECT_TRUE(expression(R"(\.exe$)").matches("caf\xE9.exe"));
  EXPECT_TRUE(expression(R"(^a.*\.exe$)").matches("a\xFF\xFE.EXE"));
  EXPECT_TRUE(expression(R"(\x{20AC})").matches("5 \xE2\x82\xAC"));
  EXPECT_TRUE(expression("caf\xE9", false).matches("un caf\xE9"));
}

TEST(StringPattern, FailedSearchDiffersFromNoMatch) {
  const auto pattern = expression(R"(\x{20AC})");
  Log log;
  EXPECT_EQ(pattern.match("\xFF"), MatchResult::kError);
  EXPECT_FALSE(pattern.matches("\xFF"));
  ASSERT_EQ(log.messages().size(), 2u);
  EXPECT_EQ(log.messages()[0].code, LogCode::kPatternMatchFailed);
  EXPECT_THAT(log.messages()[0].fields,
              ElementsAre(R"(\x{20AC})",
                          "on a subject that is not UTF-8: "
                          "character code point value in \\x{} or \\o{} is too large"));
}

TEST(StringPattern, ExpressionCannotSwitchUtf8OnForOtherBytes) {
  Log log;
  EXPECT_EQ(expression("(*UTF)a.*b").match("a\xFF\xC3"), MatchResult::kError);
  ASSERT_EQ(log.messages().size(), 1u);
  EXPECT_EQ(log.messages()[0].code, LogCode::kPatternMatchFailed);
  EXPECT_THAT(log.messages()[0].fields,
              ElementsAre("(*UTF)a.*b", "UTF-8 error: illegal byte (0xfe or 0xff)"));
  EXPECT_EQ(expression("(*UTF)a.*b")
                .match("a\xC3\xA9"
                       "b"),
            MatchResult::kYes);
}

TEST(StringPattern, MalformedExpressionsAreRefused) {
  const struct {
    std::string pattern;
    const char* offset;
  } cases[] = {
      {"a(b", "at offset 3"},  {"*a", "at offset 0"},    {"a[b", "at offset 3"},
      {"a)", "at offset 1"},   {"(?<n", "at offset 4"},  {R"(a\)", "at offset 2"},
      {R"(a\C)", "at offset"}, {"\xFF(", "at offset 2"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.pattern);
    try {
      const auto pattern = expression(c.pattern);
      FAIL() << "accepted";
    } catch (const Exception& e) {
      EXPECT_THAT(e.message(), testing::StartsWith("regular expression does not compile: "));
      EXPECT_THAT(e.message(), testing::HasSubstr(c.offset));
      EXPECT_EQ(e.code(), StringPattern::kDoesNotCompile);
      EXPECT_EQ(e.stringParameter(), c.pattern);
    }
  }
}

TEST(StringPattern, RunawaySearchIsStoppedAndLogged) {
  const struct {
    const char* pattern;
    std::string subject;
    const char* other;  // a subject that the pattern matches
  } cases[] = {
      {"(a+)+$", many(5000, 'a', "b"), "aaa"},
      {"(a+)+$", many(60, 'a', "b"), "aaa"},
      {"(x+x+)+y", many(5000, 'x', "zy"), "xxxy"},
      {"^(a|aa)+$", many(5000, 'a', "b"), "aaa"},
      // Cheap from one place, but tried from every place.
      {"[^x]{0,300}[^x]{0,300}y", many(60000, 'a', "xy"), "aay"},
      {"a{0,3000}a*[ab]y", many(60000, 'a', "zy"), "aay"},
      {R"(\s+$)", many(65000, ' ', "x"), "x "},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.pattern);
    const StringPattern pattern(c.pattern, false, true);
    Log log;
    EXPECT_EQ(pattern.match(c.subject), MatchResult::kLimit);
    ASSERT_EQ(log.messages().size(), 1u);
    EXPECT_EQ(log.messages()[0].code, LogCode::kPatternMatchLimit);
    EXPECT_THAT(log.messages()[0].fields, ElementsAre(c.pattern, std::to_string(c.subject.size())));
    EXPECT_FALSE(pattern.matches(c.subject));
    EXPECT_TRUE(pattern.matches(c.other));
    EXPECT_EQ(log.messages().size(), 2u);
  }
}

TEST(StringPattern, OrdinarySearchOfALongSubjectIsNotGivenUp) {
  const std::string dots(60000, '.');
  const std::string words = [] {
    std::string text;
    for (int i = 0; i < 6000; ++i) text += "word, and ";
    return text;
  }();
  const struct {
    const char* pattern;
    std::string subject;
    MatchResult expected;
  } cases[] = {
      {R"(\.exe$)", dots + "exe", MatchResult::kYes},
      {R"(\.exe$)", dots + "exe ", MatchResult::kNo},
      {R"(^(\w+,? )+$)", words.substr(0, 2000), MatchResult::kYes},
      {R"(\bw\w{2}d\b.*!)", words + "!", MatchResult::kYes},
      {R"(\w+ \w+ \w+)", words, MatchResult::kNo},
      {"[a-c]nd (?=end)", words + "end", MatchResult::kYes},
      {"(?=and !)...", words, MatchResult::kNo},
      {"\xC3\xA9.$", words + "\xC3\xA9!", MatchResult::kYes},
      {"and .$", words + "\xFF", MatchResult::kYes},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.pattern);
    EXPECT_EQ(StringPattern(c.pattern, false, true).match(c.subject), c.expected);
  }
}

TEST(StringPattern, OverlongSubjectIsNotLookedAt) {
  const std::string longest(StringPattern::kMaxSubject, 'a');
  const StringPattern patterns[] = {wildcard("*"), wildcard("*a"), expression("a"),
                                    listOf({wildcard("a*"), expression("a")})};
  for (const StringPattern& pattern : patterns) {
    SCOPED_TRACE(pattern.text());
    EXPECT_EQ(pattern.match(longest), MatchResult::kYes);
    Log log;
    EXPECT_EQ(pattern.match(longest + "a"), MatchResult::kLimit);
    ASSERT_EQ(log.messages().size(), 1u);
    EXPECT_EQ(log.messages()[0].code, LogCode::kPatternMatchLimit);
  }
  EXPECT_EQ(StringPattern().match(longest + "a"), MatchResult::kNo);
  EXPECT_EQ(StringPattern(std::list<StringPattern>()).match(longest + "a"), MatchResult::kNo);
}

TEST(StringPattern, NullPatternMatchesNothing) {
  const StringPattern null;
  EXPECT_TRUE(null.isNull());
  EXPECT_FALSE(null.matches(""));
  EXPECT_FALSE(null.matches("a"));
  EXPECT_EQ(null.text(), "");
  EXPECT_FALSE(null.ignoreCase());
  EXPECT_FALSE(null.regularExpression());
  EXPECT_FALSE(null.isList());
  EXPECT_TRUE(null.members().empty());
  EXPECT_FALSE(wildcard("").isNull());
}

TEST(StringPattern, MovedFromPatternIsNull) {
  StringPattern source = wildcard("a");
  const StringPattern target = std::move(source);
  EXPECT_TRUE(target.matches("a"));
  EXPECT_TRUE(source.isNull());  // NOLINT(bugprone-use-after-move): the moved-from state is defined
}

TEST(StringPattern, ListMatchesWhenAMemberDoes) {
  const std::list<StringPattern> members = {wildcard("*@example.com"), StringPattern(),
                                            expression("^postmaster@")};
  const StringPattern list(members);
  EXPECT_TRUE(list.isList());
  EXPECT_FALSE(list.isNull());
  EXPECT_EQ(list.members().size(), 3u);
  EXPECT_TRUE(list.matches("a@Example.com"));
  EXPECT_TRUE(list.matches("postmaster@example.org"));
  EXPECT_FALSE(list.matches("a@example.org"));
  EXPECT_TRUE(listOf({list, wildcard("b")}).matches("a@example.com"));
  EXPECT_EQ(list.text(), "");
}

TEST(StringPattern, EmptyListMatchesNothing) {
  const StringPattern list{std::list<StringPattern>()};
  EXPECT_TRUE(list.isList());
  EXPECT_FALSE(list.isNull());
  EXPECT_FALSE(list.matches(""));
  EXPECT_FALSE(list.matches("a"));
}

TEST(StringPattern, ListTellsWhatStoppedAMember) {
  const std::string subject = many(5000, 'a', "b");
  const auto runaway = expression("(a+)+$");
  EXPECT_EQ(listOf({runaway, wildcard("x")}).match(subject), MatchResult::kLimit);
  EXPECT_EQ(listOf({runaway, wildcard("*b")}).match(subject), MatchResult::kYes);
  EXPECT_EQ(listOf({wildcard("x"), expression(R"(\x{20AC})")}).match("\xFF"), MatchResult::kError);
}

TEST(StringPattern, AccessorsGiveWhatWasGiven) {
  const StringPattern pattern("A*", true, false);
  EXPECT_EQ(pattern.text(), "A*");
  EXPECT_TRUE(pattern.ignoreCase());
  EXPECT_FALSE(pattern.regularExpression());
  EXPECT_TRUE(StringPattern("A", false, true).regularExpression());
  EXPECT_FALSE(StringPattern("A", false, true).ignoreCase());
}

TEST(StringPattern, OrderIsTotalAndByTextThenFlagsThenMembers) {
  const std::vector<StringPattern> ascending = {
      StringPattern(),
      StringPattern("", false, false),
      StringPattern(std::list<StringPattern>()),
      listOf({wildcard("a")}),
      listOf({wildcard("a"), wildcard("a")}),
      listOf({wildcard("b")}),
      StringPattern("", false, true),
      StringPattern("", true, false),
      StringPattern("A", true, true),
      StringPattern("a", false, false),
      StringPattern("a", false, true),
      StringPattern("a", true, false),
      StringPattern("a", true, true),
      StringPattern("aa", false, false),
      StringPattern("\xC3\xA9", false, false),
  };
  for (std::size_t i = 0; i < ascending.size(); ++i) {
    for (std::size_t j = 0; j < ascending.size(); ++j) {
      SCOPED_TRACE(std::to_string(i) + " and " + std::to_string(j));
      EXPECT_EQ(ascending[i] < ascending[j], i < j);
      EXPECT_EQ(ascending[i] == ascending[j], i == j);
    }
  }
}

TEST(StringPattern, EqualWithoutSharingAProgram) {
  EXPECT_EQ(wildcard("a"), wildcard("a"));
  EXPECT_EQ(listOf({wildcard("a"), expression("b")}), listOf({wildcard("a"), expression("b")}));
  EXPECT_NE(listOf({wildcard("a")}), listOf({expression("a")}));
}

TEST(StringPattern, ServesAsMapKeyInItsOwnOrder) {
  const std::map<StringPattern, std::string> types = {
      {expression(R"(\.swf$)"), "flash"},
      {expression(R"(\.(exe|com)$)"), "executable"},
      {expression(R"(\.jar$)"), "java"},
      {expression(R"(\.jar$)"), "ignored: the key is there"},
  };
  std::vector<std::string> texts;
  for (const auto& [pattern, type] : types) texts.push_back(pattern.text());
  EXPECT_THAT(texts, ElementsAre(R"(\.(exe|com)$)", R"(\.jar$)", R"(\.swf$)"));
  EXPECT_EQ(types.at(expression(R"(\.jar$)")), "java");
}

}  // namespace
}  // namespace Kestrav
