#include "platform/config/store/Author.h"

#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <mutex>
#include <vector>

#include "platform/common/NoDestructor.h"
#include "platform/config/store/JournalFormat.h"

namespace Kestrav::Config {
namespace {

constexpr std::size_t kLargestEntry = 1u << 20;  // of the user directory

std::string nameOf(uid_t uid) {
  passwd entry{};
  passwd* found = nullptr;
  for (std::vector<char> buffer(1024); buffer.size() <= kLargestEntry;
       buffer.resize(buffer.size() * 2)) {
    const int rc = ::getpwuid_r(uid, &entry, buffer.data(), buffer.size(), &found);
    if (rc == ERANGE) continue;
    if (found == nullptr) break;
    return std::string(found->pw_name).substr(0, kLongestUserName);
  }
  return {};
}

struct KnownUser {
  std::mutex mutex;
  RevisionHead author;  // guarded by `mutex`
};

}  // namespace

RevisionHead currentAuthor() {
  static NoDestructor<KnownUser> known;
  const uid_t uid = ::getuid();
  const std::scoped_lock lock(known->mutex);
  if (known->author.uid != uid) {
    known->author.uid = uid;
    known->author.user = nameOf(uid);
  }
  return known->author;
}

}  // namespace Kestrav::Config
