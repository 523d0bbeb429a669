#include "platform/regex/PatternContainer.h"

#include <gmock/gmock.h>

#include <random>
#include <string>
#include <vector>

#include "platform/common/LogCodes.h"
#include "platform/common/Logger.h"
#include "platform/regex/StringPattern.h"

namespace Kestrav {
namespace {

PatternContainer containing(const std::vector<std::string>& patterns) {
  PatternContainer container;
  for (const std::string& pattern : patterns) container.add(pattern);
  return container;
}

TEST(PatternContainer, StartsEmptyAndMatchesNothing) {
  const PatternContainer container;
  EXPECT_TRUE(container.empty());
  EXPECT_EQ(container.size(), 0u);
  EXPECT_FALSE(container.matches(""));
  EXPECT_FALSE(container.matches("a@example.com"));
  EXPECT_FALSE(container.matches(std::string(StringPattern::kMaxSubject + 1, 'a')));
}

TEST(PatternContainer, KeepsPatternsAsAddedInThatOrder) {
  const auto container = containing({"*@B.com", "a@b.com", "*@B.com", "[x"});
  EXPECT_THAT(container.patterns(), testing::ElementsAre("*@B.com", "a@b.com", "*@B.com", "[x"));
  EXPECT_EQ(container.size(), 4u);
  EXPECT_FALSE(container.empty());
}

TEST(PatternContainer, MatchesEachFormOfEntry) {
  const struct {
    const char* pattern;
    std::string subject;
    bool matches;
  } cases[] = {
      {"user@example.com", "USER@Example.Com", true},
      {"user@example.com", "user@example.co", false},
      {"user@example.com", "xuser@example.com", false},
      {"*@example.com", "a@example.com", true},
      {"*@example.com", "A@EXAMPLE.COM", true},
      {"*@EXAMPLE.com", "a@example.com", true},
      {"*@example.com", "@example.com", true},
      {"*@example.com", "a@sub.example.com", false},
      {"*@example.com", "a@badexample.com", false},
      {"*@example.com", "example.com", false},
      {"*@example.com", "\"a@b\"@example.com", true},
      {"*@*.example.com", "a@sub.example.com", true},
      {"*@*.example.com", "a@x.y.example.com", true},
      {"*@*.example.com", "a@.example.com", true},
      {"*@*.example.com", "a@example.com", false},
      {"*@*.example.com", "a.example.com", false},
      {"*@*.example.com", ".example.com", false},
      {"*@*.example.com", "x.example.com@other.com", false},
      {"*@*@b.c", "a@x@b.c", true},
      {"*@*@b.c", "a@b.c", false},
      {"192.168.1.*", "192.168.1.77", true},
      {"192.168.1.*", "192.168.10.7", false},
      {"192.168.1.*", "192.168.1.", true},
      {"10.0.0.0/8.*", "10.0.0.0/8.1", true},
      {"10.0.0.0/8.*", "10.0.0.1", false},
      {"192.0.2.1", "192.0.2.1", true},
      {"192.0.2.1", "192.0.2.10", false},
      {"*", "", true},
      {"*", "anything", true},
      {"", "", true},
      {"", "a", false},
      {"sales-?@*.example.com", "sales-7@eu.example.com", true},
      {"sales-?@*.example.com", "sales-77@eu.example.com", false},
      {"[ab]*@example.com", "Bob@example.com", true},
      {"[ab]*@example.com", "carl@example.com", false},
      {"*news*", "the-NEWS-letter", true},
      {"*@\xC3\x89t\xC3\xA9.example", "a@\xC3\xA9t\xC3\x89.example", true},
      {"*@example.com", "\xFF@example.com", true},
      {"user@[192.0.2.1]", "USER@[192.0.2.1]", true},
      {"user@[192.0.2.1]", "user@1", false},
      {"*@[192.0.2.1]", "a@[192.0.2.1]", true},
      {"*@[ab].example.com", "x@b.example.com", true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.pattern) + " on " + c.subject);
    const auto container = containing({c.pattern});
    EXPECT_EQ(container.matches(c.subject), c.matches);
    EXPECT_EQ(container.matchesLinear(c.subject), c.matches);
  }
}

TEST(PatternContainer, AnEntryThatDoesNotCompileIsLoggedAndStandsForItself) {
  std::vector<Logger::Message> messages;
  const auto token = Logger::instance().capture(
      [&messages](const Logger::Message& message) { messages.push_back(message); });
  const auto container = containing({"[a*@example.com", "*@example.org"});
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0].code, LogCode::kPatternMatchFailed);
  EXPECT_EQ(messages[0].fields.at(0), "[a*@example.com");
  EXPECT_THAT(messages[0].fields.at(1), testing::HasSubstr("at offset 0"));
  EXPECT_TRUE(container.matches("[A*@example.com"));
  EXPECT_FALSE(container.matches("ab@example.com"));
  EXPECT_TRUE(container.matches("x@example.org"));
}

TEST(PatternContainer, OverlongSubjectIsLoggedAndMatchesNothing) {
  const auto container = containing({"*"});
  EXPECT_TRUE(container.matches(std::string(StringPattern::kMaxSubject, 'a')));
  std::vector<std::uint32_t> codes;
  const auto token = Logger::instance().capture(
      [&codes](const Logger::Message& message) { codes.push_back(message.code); });
  EXPECT_FALSE(container.matches(std::string(StringPattern::kMaxSubject + 1, 'a')));
  EXPECT_THAT(codes, testing::ElementsAre(LogCode::kPatternMatchLimit));
}

TEST(PatternContainer, CopiesAnswerAlike) {
  auto original = containing({"*@example.com", "10.*", "a[bc]"});
  const PatternContainer copy = original;
  original.add("*@example.org");
  EXPECT_TRUE(copy.matches("x@example.com"));
  EXPECT_TRUE(copy.matches("10.1"));
  EXPECT_TRUE(copy.matches("ac"));
  EXPECT_FALSE(copy.matches("x@example.org"));
  EXPECT_EQ(copy.size(), 3u);
}

TEST(PatternContainer, FindsEachOfManyEntries) {
  PatternContainer container;
  constexpr int kEntries = 20000;
  for (int i = 0; i < kEntries; ++i) {
    const std::string n = std::to_string(i);
    container.add("user" + n + "@example.net");
    container.add("*@d" + n + ".example");
    container.add("*@*.d" + n + ".example");
    container.add("10." + n + ".*");
  }
  for (int i = 0; i < 2 * kEntries; i += 7) {
    const std::string n = std::to_string(i);
    const bool expected = i < kEntries;
    SCOPED_TRACE(n);
    ASSERT_EQ(container.matches("User" + n + "@example.net"), expected);
    ASSERT_EQ(container.matches("x@D" + n + ".example"), expected);
    ASSERT_EQ(container.matches("x@y.z.d" + n + ".example"), expected);
    ASSERT_EQ(container.matches("10." + n + ".3"), expected);
  }
}

TEST(PatternContainer, AgreesWithTheLinearScanOnRandomInput) {
  std::mt19937 random(7);
  const std::vector<std::string> parts = {"a",    "B",        "c",    "@",    "@",  ".",   ".",
                                          "1",    "ab",       ".c",   "*",    "*",  "?",   "[b-c]",
                                          "[!a]", "\xC3\x89", "\xC3", "\xA9", "*@", "*@*."};
  const std::vector<std::string> letters = {"a",  "b", "C",        "@",        ".",    "1",
                                            "ab", "k", "\xC3\xA9", "\xC3\x89", "\xC3", "\xA9"};
  const auto make = [&random](const std::vector<std::string>& from, std::size_t most) {
    std::string text;
    for (auto n = random() % (most + 1); n != 0; --n) text += from[random() % from.size()];
    return text;
  };
  int hits = 0;
  int misses = 0;
  for (int round = 0; round < 3000; ++round) {
    PatternContainer container;
    for (auto n = 1 + random() % 12; n != 0; --n) {
      const std::string pattern = make(parts, 5);
      // A lone star would match every subject.
      container.add(pattern.find_first_not_of('*') == std::string::npos ? "a" : pattern);
    }
    for (int i = 0; i < 20; ++i) {
      const std::string subject = make(letters, 7);
      const bool expected = container.matchesLinear(subject);
      (expected ? hits : misses) += 1;
      ASSERT_EQ(container.matches(subject), expected)
          << subject << " against " << testing::PrintToString(container.patterns());
    }
  }
  EXPECT_GT(hits, 5000);
  EXPECT_GT(misses, 5000);
}

// The same, compared with a StringPattern for each entry.
TEST(PatternContainer, AgreesWithSinglePatternsOnRandomAddresses) {
  std::mt19937 random(11);
  const std::vector<std::string> hosts = {"example.com", "a.example.com", "b.a.example.com",
                                          "example.org", "xexample.com",  "COM"};
  const std::vector<std::string> heads = {"*@", "*@*.", "u@", "*", "", "u*@", "?@"};
  const std::vector<std::string> users = {"u@", "U@x.", "uu@", "", "@", "v@u@", "x.y@"};
  for (int round = 0; round < 2000; ++round) {
    PatternContainer container;
    std::list<StringPattern> list;
    for (auto n = 1 + random() % 4; n != 0; --n) {
      const std::string text = heads[random() % heads.size()] + hosts[random() % hosts.size()];
      container.add(text);
      list.emplace_back(text, true, false);
    }
    const StringPattern any(list);
    const std::string subject = users[random() % users.size()] + hosts[random() % hosts.size()];
    ASSERT_EQ(container.matches(subject), any.matches(subject))
        << subject << " against " << testing::PrintToString(container.patterns());
  }
}

}  // namespace
}  // namespace Kestrav
