// Wrong use gives one clear line on stderr and exit code 2.
#include <fstream>

#include "ToolFixture.h"

using namespace Kestrav::ToolTesting;

namespace {

class WrongUse : public ToolFixture {
 protected:
  void expectRefused(const Result& result, int code = 2) const {
    EXPECT_EQ(result.code, code) << "signal " << result.signal;
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(linesIn(result.err), 1) << result.err;
    EXPECT_FALSE(contains(result.err, "what()")) << result.err;
  }
};

TEST_F(WrongUse, GivesOneLine) {
  load(example());
  const struct {
    std::vector<std::string> arguments;
    int code;
  } cases[] = {
      {{}, 2},
      {{"frobnicate"}, 2},
      {{"loda", "x.yaml"}, 2},
      {{"--bogus"}, 2},
      {{"dump", "--bogus"}, 2},
      {{"dump", "extra"}, 2},
      {{"load"}, 2},
      {{"check"}, 2},
      {{"explain", "--client", "192.0.2.1"}, 2},
      {{"explain", "--server", "192.0.2.1"}, 2},
      {{"explain", "--client", "192.0.2.1", "--server"}, 2},
      {{"explain", "--client", "192.0.2", "--server", "192.0.2.1"}, 2},
      {{"explain", "--client", "192.0.2.1", "--server", "2001:db8::g"}, 2},
      {{"explain", "--client", "", "--server", "192.0.2.1"}, 2},
      {{"explain", "--client", "192.0.2.1\nx", "--server", "192.0.2.1"}, 2},
      {{"explain", "--client", "192.0.2.1", "--server", "192.0.2.1", "--from", "a b@c"}, 2},
      {{"explain", "--client", "192.0.2.1", "--server", "192.0.2.1", "--rcpt", "nodomain"}, 2},
      {{"explain", "--client", "192.0.2.1", "--server", "192.0.2.1", "--rcpt", ""}, 2},
      {{"explain", "--client", "192.0.2.1", "--server", "192.0.2.1", "--rcpt", "<>"}, 2},
      {{"explain", "--client", "192.0.2.1", "--server", "192.0.2.1", "--rcpt", "a@b",
        "\x01@\x1b[2J"},
       2},
      {{"get", "antispam-profile"}, 2},
      {{"get", "no-such-thing-at-all-anywhere"}, 2},
      {{"get", "antispam-profiles", "strct"}, 1},
      {{"get", "antispam-profiles", "zzzzzzzz"}, 1},
      {{"get", "antivirus-profiles", "x"}, 1},
      {{"get", "system", "name"}, 2},
      {{"get", "antispam-profiles", "sales", "--domain", "exmple.com"}, 1},
      {{"get", "antispam-profiles", "--domain", "example.net"}, 1},
      {{"get", "domains", "--domain", "example.com"}, 1},
      {{"set", "content-inspections", "on"}, 2},
      {{"set", "content-inspection", "maybe"}, 2},
      {{"set", "content-inspection"}, 2},
      {{"watch", "--changes", "0"}, 2},
      {{"watch", "--changes", "x"}, 2},
      {{"diff"}, 2},
      {{"diff", example(), example(), example()}, 2},
      {{"--store", "", "status"}, 2},
  };
  std::string messages;
  for (const auto& one : cases) {
    std::string line = "vexactl";
    for (const std::string& word : one.arguments) line += " '" + word + "'";
    SCOPED_TRACE(line);
    // The last --store counts.
    auto arguments = one.arguments;
    if (arguments.empty() || arguments.front() != "--store") arguments = withStore(arguments);
    const Result result = vexactl(arguments);
    expectRefused(result, one.code);
    messages += "$ " + replaced(replaced(line, "\n", "\\n"), "\x1b", "\\e") + "\n" + result.err;
  }
  expectGolden("wrong-use.txt",
               replaced(replaced(placeless(messages), example(), "EXAMPLE"), "\x01", "\\1"));
}

TEST_F(WrongUse, OfFilesThatCannotBeRead) {
  std::filesystem::create_directory(folder() / "empty");
  for (const std::string& path :
       {(folder() / "missing.yaml").string(), (folder() / "empty").string()}) {
    for (const std::vector<std::string>& verb : {std::vector<std::string>{"check"},
                                                 {"load"},
                                                 {"load", "--dry-run"},
                                                 {"diff", example()}}) {
      SCOPED_TRACE(verb.front() + " " + path);
      auto arguments = verb;
      arguments.push_back(path);
      const Result result = run(arguments);
      EXPECT_EQ(result.code, 2);
      EXPECT_EQ(result.out, "");
      EXPECT_EQ(result.err.find(path + ": "), 0u) << result.err;
      EXPECT_FALSE(std::filesystem::exists(store()));
    }
  }
}

TEST_F(WrongUse, OfAFileWithoutPermission) {
  const std::string path = file("locked.yaml", "system: {}\n");
  std::filesystem::permissions(path, std::filesystem::perms::none);
  const Result result = run({"load", path}, {.unprivileged = true});
  EXPECT_EQ(result.code, 2);
  EXPECT_TRUE(contains(result.err, path + ": cannot be read; a file with read permission\n"))
      << result.err;
}

TEST_F(WrongUse, OfACircleOfLinks) {
  const std::filesystem::path loop = folder() / "loop";
  std::filesystem::create_symlink("loop", loop);
  const std::string message = "cannot be read: Too many levels of symbolic links; a YAML file\n";
  for (const std::vector<std::string>& verb :
       {std::vector<std::string>{"check"}, {"load"}, {"load", "--dry-run"}, {"diff", example()}}) {
    SCOPED_TRACE(verb.front());
    auto arguments = verb;
    arguments.push_back(loop);
    const Result result = run(arguments);
    EXPECT_EQ(result.code, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err.find(loop.string() + ": " + message), 0u) << result.err;
  }
  for (const std::vector<std::string>& verb :
       {std::vector<std::string>{"dump"}, {"load", example()}, {"load", "--dry-run", example()}}) {
    SCOPED_TRACE(verb.front());
    auto arguments = verb;
    arguments.insert(arguments.begin(), {"--store", loop});
    const Result result = vexactl(arguments);
    expectRefused(result);
    EXPECT_EQ(placeless(result.err),
              "vexactl: Cannot open the store in FOLDER/loop: Too many levels of symbolic links\n");
  }
}

// Terminals interpret control characters, also those above ASCII, and reject bytes that are no
// UTF-8.
TEST_F(WrongUse, ShowsOddArgumentsEscaped) {
  load(example());
  const std::string odd = "a\xff\xc2\x9b\x1b\n\tb";
  const std::string shown = "a\\xff\\u009b\\x1b\\n\\x09b";
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{odd},
        {"--" + odd},
        {"dump", odd},
        {"get", odd},
        {"get", "antispam-profiles", odd},
        {"get", "antispam-profiles", "x", "--domain", odd},
        {"set", odd, "on"},
        {"set", "content-inspection", odd},
        {"check", odd},
        {"load", odd},
        {"diff", odd},
        {"--store", odd, "status"},
        {"watch", "--changes", odd},
        {"explain", "--client", odd, "--server", "192.0.2.1"}}) {
    SCOPED_TRACE(arguments.front());
    const bool store = arguments.front() == "--store";
    const Result result = store ? vexactl(arguments) : run(arguments);
    EXPECT_NE(result.code, 0);
    EXPECT_TRUE(contains(result.err, shown)) << result.err;
    EXPECT_EQ(linesIn(result.err), contains(result.err, "mistake") ? 2 : 1) << result.err;
  }
}

// Every verb that needs a store, with a path that is no store.
class NoStore : public WrongUse, public testing::WithParamInterface<const char*> {
 protected:
  std::vector<std::string> verb() const {
    std::vector<std::string> words;
    std::istringstream in(GetParam());
    for (std::string word; in >> word;) words.push_back(word);
    return words;
  }
};

TEST_P(NoStore, MissingIsRefusedAndNotCreated) {
  const Result result = run(verb());
  expectRefused(result);
  EXPECT_EQ(placeless(result.err),
            "vexactl: Cannot open the store in FOLDER/store: No such file or directory\n");
  EXPECT_FALSE(std::filesystem::exists(store()));
}

TEST_P(NoStore, EmptyFolderIsRefusedAndStaysEmpty) {
  std::filesystem::create_directory(store());
  const Result result = run(verb());
  expectRefused(result);
  EXPECT_EQ(placeless(result.err),
            "vexactl: Cannot open the store in FOLDER/store: there is none\n");
  EXPECT_TRUE(std::filesystem::is_empty(store()));
}

TEST_P(NoStore, FileIsRefused) {
  file("store", "not a folder");
  const Result result = run(verb());
  expectRefused(result);
  EXPECT_EQ(placeless(result.err),
            "vexactl: Cannot open the store in FOLDER/store: it is no folder\n");
}

TEST_P(NoStore, ForeignDataIsRefusedAndStaysAsItIs) {
  std::filesystem::create_directory(store());
  const std::string content(40'000, 'x');
  file("store/data.mdb", content);
  expectRefused(run(verb()));
  EXPECT_EQ(fileContent(store() + "/data.mdb"), content);
}

TEST_P(NoStore, WithoutPermissionIsRefused) {
  load(example());
  std::filesystem::permissions(store(), std::filesystem::perms::none);
  const Result result = run(verb(), {.unprivileged = true});
  std::filesystem::permissions(store(), std::filesystem::perms::owner_all);
  expectRefused(result);
  EXPECT_TRUE(contains(result.err, "Permission denied")) << result.err;
}

INSTANTIATE_TEST_SUITE_P(Verbs, NoStore,
                         testing::Values("dump", "status", "get ip-policies", "watch",
                                         "set content-inspection on",
                                         "explain --client 192.0.2.1 --server 192.0.2.1"),
                         [](const auto& verb) {
                           const std::string words = verb.param;
                           return words.substr(0, words.find(' '));
                         });

TEST_F(WrongUse, OfAPlaceWhereNoStoreCanBeCreated) {
  std::filesystem::create_directory(folder() / "locked");
  std::filesystem::permissions(folder() / "locked", std::filesystem::perms::none);
  const Result result = vexactl({"--store", folder() / "locked" / "store", "load", example()},
                                {.unprivileged = true});
  std::filesystem::permissions(folder() / "locked", std::filesystem::perms::owner_all);
  expectRefused(result);
  EXPECT_TRUE(contains(result.err, "Permission denied")) << result.err;
}

TEST_F(WrongUse, HelpIsNoWrongUse) {
  for (const char* verb : {"check", "load", "dump", "get", "explain", "diff", "watch", "status",
                           "set", "schema", "records"}) {
    SCOPED_TRACE(verb);
    const Result result = vexactl({verb, "--help"});
    EXPECT_EQ(result.code, 0);
    EXPECT_FALSE(result.out.empty());
    EXPECT_EQ(result.err, "");
  }
  expectGolden("help.txt", vexactl({"--help"}).out);
  EXPECT_EQ(vexactl({"--version"}).out, "vexactl " KESTRAV_VERSION "\n");
}

}  // namespace
