// verify and compact: the state of a store's files.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "ToolFixture.h"

using namespace Kestrav::ToolTesting;

namespace {

class Verify : public ToolFixture {
 protected:
  void SetUp() override { load(example()); }
  std::filesystem::path data() const { return store() + "/data.mdb"; }
  std::string bytes() const { return fileContent(data()); }
  // Changes the byte after each place where the file holds the text.
  void damageAfter(const std::string& text) const {
    const std::string content = bytes();
    const int fd = ::open(data().c_str(), O_WRONLY | O_CLOEXEC);
    int places = 0;
    for (std::size_t at = content.find(text); at != std::string::npos;
         at = content.find(text, at + 1)) {
      EXPECT_EQ(::pwrite(fd, "#", 1, static_cast<off_t>(at + text.size())), 1);
      ++places;
    }
    ::close(fd);
    EXPECT_GT(places, 0);
  }
  static std::string withoutPages(const std::string& text) {
    const auto begin = text.find("pages      ");
    return begin == std::string::npos
               ? text
               : text.substr(0, begin) + "pages      N" + text.substr(text.find('\n', begin));
  }
};

TEST_F(Verify, CountsWhatItChecked) {
  const Result result = run({"verify"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.err, "");
  expectGolden("verify.txt", withoutPages(placeless(result.out)));
}

// What daemons with a group among their options share.
TEST_F(Verify, AndTheOtherVerbsTakeTheStoresGroup) {
  ASSERT_EQ(::chmod(store().c_str(), 02770), 0);
  for (const auto& entry : std::filesystem::directory_iterator(store())) {
    ASSERT_EQ(::chmod(entry.path().c_str(), 0660), 0);
  }
  const std::string group = std::to_string(::getegid());
  for (const char* verb : {"verify", "compact", "status", "dump"}) {
    SCOPED_TRACE(verb);
    const Result refused = run({verb});
    EXPECT_EQ(refused.code, 2);
    EXPECT_TRUE(contains(refused.err, "--group")) << refused.err;
    const Result result = run({verb, "--group", group});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.err, "");
  }
  EXPECT_EQ(run({"diff", store(), store(), "--group", group}).code, 0);
  EXPECT_EQ(run({"load", example(), "--group", group}).code, 0);
}

TEST_F(Verify, NamesDamagedRecordsAndAnswersNo) {
  damageAfter("partner-two.exampl");
  const Result result = run({"verify"});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.err, "");
  expectGolden("verify-damaged.txt", withoutPages(placeless(result.out)));
}

TEST_F(Verify, NamesADamagedPageThatKeepsTheStoreFromBeingOpened) {
  const int fd = ::open(data().c_str(), O_WRONLY | O_CLOEXEC);
  const std::string content = bytes();
  // The root of the main tree, as the newer of the first two pages has it.
  const std::size_t meta = content[4096 + 16 + 128] > content[16 + 128] ? 4096 : 0;
  const auto root = static_cast<unsigned char>(content[meta + 16 + 112]);
  EXPECT_EQ(::pwrite(fd, "\x63", 1, root * 4096), 1);
  ::close(fd);
  const std::string damage = "page " + std::to_string(root) + ": it has the number of another page";
  const Result refused = run({"status"});
  EXPECT_EQ(refused.code, 2);
  EXPECT_TRUE(contains(refused.err, damage)) << refused.err;
  const Result result = run({"verify"});
  EXPECT_EQ(result.code, 1);
  EXPECT_TRUE(contains(result.out, "damage: " + damage + "\n")) << result.out;
}

TEST_F(Verify, NeedsAStore) {
  std::filesystem::remove_all(store());
  for (const char* verb : {"verify", "compact"}) {
    const Result result = run({verb});
    EXPECT_EQ(result.code, 2);
    EXPECT_TRUE(contains(result.err, "store")) << result.err;
    EXPECT_FALSE(std::filesystem::exists(store()));
  }
}

TEST_F(Verify, CompactForgetsErasedSecrets) {
  loadText(
      "certificate-bindings:\n"
      "  - name: staff\n"
      "    owner: \"*@example.com\"\n"
      "    private-key: OLD-KEY\n"
      "    pass-phrase: OLD-PHRASE\n"
      "    certificate: cert\n");
  load(example());
  EXPECT_TRUE(contains(bytes(), "OLD-PHRASE"));
  const auto before = rows();
  const auto size = std::filesystem::file_size(data());
  const Result result = run({"compact"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.out, "size: " + std::to_string(size) + " -> " +
                            std::to_string(std::filesystem::file_size(data())) + " bytes\n");
  EXPECT_FALSE(contains(bytes(), "OLD-"));
  EXPECT_EQ(rows(), before);
  EXPECT_EQ(revision(), 3u);
  EXPECT_EQ(run({"verify"}).code, 0);
}

}  // namespace
