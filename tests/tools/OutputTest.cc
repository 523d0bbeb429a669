// Outputs that end early, cannot be written, or go to a terminal.
#include "ToolFixture.h"

using namespace Kestrav::ToolTesting;

namespace {

class Output : public ToolFixture {
 protected:
  void SetUp() override { load(example()); }
  static std::vector<std::vector<std::string>> verbs() {
    return {{"dump"},
            {"status"},
            {"get", "ip-policies"},
            {"schema"},
            {"records"},
            {"--help"},
            {"--version"},
            {"check", example()},
            {"explain", "--client", "203.0.113.5", "--server", "192.0.2.1"}};
  }
};

TEST_F(Output, MayEndEarly) {
  for (const auto& verb : verbs()) {
    SCOPED_TRACE(verb.front());
    const Result result = run(verb, {.out = Streams::kReaderGone});
    EXPECT_EQ(result.code, 0) << "signal " << result.signal;
    EXPECT_EQ(result.err, "");
  }
  // The exit code still is the answer.
  const std::string empty = file("empty.yaml", "{}\n");
  EXPECT_EQ(run({"diff", empty}, {.out = Streams::kReaderGone}).code, 1);
}

TEST_F(Output, ThatCannotBeWrittenIsAFailure) {
  for (const auto& verb : verbs()) {
    SCOPED_TRACE(verb.front());
    const Result full = run(verb, {.out = "/dev/full"});
    EXPECT_EQ(full.code, 2) << "signal " << full.signal;
    EXPECT_EQ(full.err, "vexactl: cannot write the output: No space left on device\n");
    const Result closed = run(verb, {.out = Streams::kClosed});
    EXPECT_EQ(closed.code, 2) << "signal " << closed.signal;
    EXPECT_EQ(closed.err, "vexactl: cannot write the output: Bad file descriptor\n");
  }
}

// A file that the store opens must not get the number of a closed stream.
TEST_F(Output, ToClosedStreamsDoesNotReachTheStore) {
  const auto before = rows();
  for (const char* verb : {"dump", "status"}) {
    EXPECT_EQ(run({verb}, {.out = Streams::kClosed, .err = Streams::kClosed}).code, 2);
  }
  EXPECT_EQ(run({"get", "nothing"}, {.err = Streams::kClosed}).code, 2);
  EXPECT_EQ(rows(), before);
}

TEST_F(Output, HasColoursOnATerminalOnly) {
  const std::vector<std::string> arguments = {"explain", "--client", "203.0.113.5", "--server",
                                              "192.0.2.1"};
  const std::string plain = run(arguments).out;
  ::setenv("TERM", "xterm", 1);
  ::unsetenv("NO_COLOR");
  const std::string coloured = run(arguments, {.out = Streams::kTerminal}).out;
  EXPECT_TRUE(contains(coloured, "\033[1m"));
  EXPECT_EQ(replaced(replaced(coloured, "\033[1m", ""), "\033[0m", ""), plain);
  EXPECT_FALSE(contains(plain, "\033"));
  ::setenv("NO_COLOR", "1", 1);
  EXPECT_EQ(run(arguments, {.out = Streams::kTerminal}).out, plain);
  ::unsetenv("NO_COLOR");
  ::setenv("TERM", "dumb", 1);
  EXPECT_EQ(run(arguments, {.out = Streams::kTerminal}).out, plain);
}

}  // namespace
