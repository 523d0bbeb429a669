// Who is alive: processes that end while they are looked at, and a system that does not answer.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>

#include "Child.h"
#include "StoreRecords.h"
#include "platform/config/store/ProcessLife.h"
#include "platform/config/store/StatusFile.h"
#include "tests/support/InChild.h"
#include "tests/support/StoreFixture.h"

namespace Kestrav::Config {
namespace {

using namespace StoreTesting;

constexpr int kSkipped = 77;

// From now on, in this process, the system call fails with `error` when its first argument is
// `argument`.
bool failSystemCall(int number, std::uint32_t argument, int error) {
  sock_filter program[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(number), 0, 3),
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[0])),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, argument, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<std::uint32_t>(error)),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  const sock_fprog filter{std::size(program), program};
  return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

// The descriptor that the next open() returns.
std::uint32_t nextDescriptor() {
  const int fd = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
  ::close(fd);
  return static_cast<std::uint32_t>(fd);
}

// A process that does nothing until it is killed.
class Idle {
 public:
  Idle() : pid_(::fork()) {
    if (pid_ == 0) {
      for (;;) ::pause();
    }
  }
  ~Idle() {
    kill();
    reap();
  }
  Idle(const Idle&) = delete;
  Idle& operator=(const Idle&) = delete;

  std::uint32_t pid() const { return static_cast<std::uint32_t>(pid_); }
  // It stays a zombie until reap().
  void kill() {
    siginfo_t info{};
    ::kill(pid_, SIGKILL);
    ::waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOWAIT);
  }
  void reap() { ::waitpid(pid_, nullptr, 0); }

 private:
  const pid_t pid_;
};

TEST(Liveness, IsThatOfTheProcessNotOfItsNumber) {
  Idle idle;
  const auto started = startTime(idle.pid());
  ASSERT_TRUE(started);
  EXPECT_TRUE(isAlive(idle.pid(), *started));
  EXPECT_TRUE(isAlive(idle.pid(), 0)) << "not known when it registered";
  EXPECT_FALSE(isAlive(idle.pid(), *started - 1)) << "an earlier process with the same number";
  idle.kill();
  EXPECT_FALSE(isAlive(idle.pid(), *started)) << "a zombie";
  EXPECT_FALSE(isAlive(idle.pid(), 0));
  idle.reap();
  EXPECT_FALSE(isAlive(idle.pid(), *started));
  EXPECT_FALSE(startTime(idle.pid()));
}

TEST(Liveness, NumbersThatNoProcessHas) {
  for (const std::uint32_t pid : {0u, 0x7fff'ffffu, 0x8000'0000u, 0xffff'ffffu}) {
    SCOPED_TRACE(pid);
    EXPECT_FALSE(isAlive(pid, 0));
    EXPECT_FALSE(isAlive(pid, 1));
  }
}

class LivenessInStore : public Testing::StoreFixture {};

// The system call that reads the process's file fails, as when the process ended after its file
// was opened.
TEST_F(LivenessInStore, AProcessThatEndsWhileItIsLookedAtIsNoFailure) {
  const auto path = folder() / "store" / "status";
  Child other({"follow", (folder() / "store").string(), "daemon", "7"});
  ASSERT_EQ(other.line(), "registered");
  const int result = Testing::inChild([&] {
    const auto status = StatusFile::open(path);
    if (!failSystemCall(SYS_read, nextDescriptor(), ESRCH)) return kSkipped;
    if (status->processes().size() != 1) return 1;  // kill() says that it is there
    return status->lowestApplied() == 7u ? 0 : 2;
  });
  if (result == kSkipped) GTEST_SKIP() << "system calls cannot be filtered here";
  EXPECT_EQ(result, 0);
  other.kill();
  EXPECT_TRUE(store().processes().empty());
}

TEST_F(LivenessInStore, AProcessWithoutFreeDescriptorsTakesNobodysSlot) {
  const auto path = folder() / "store" / "status";
  Child other({"follow", (folder() / "store").string(), "daemon", "7"});
  ASSERT_EQ(other.line(), "registered");
  const int result = Testing::inChild([&] {
    const auto status = StatusFile::open(path);
    const rlimit none{nextDescriptor(), 4096};
    if (::setrlimit(RLIMIT_NOFILE, &none) != 0) return 1;
    if (::open("/dev/null", O_RDONLY) >= 0) return 2;
    if (status->lowestApplied() != 7u) return 3;
    if (status->claim("second", 9) != 1) return 4;
    if (status->processes().size() != 2) return 5;
    return 0;
  });
  EXPECT_EQ(result, 0);
  const auto processes = store().processes();
  ASSERT_EQ(processes.size(), 1u) << "the second one has ended";
  EXPECT_EQ(processes[0].name, "daemon");
}

// As many processes as it takes to meet one that ends at the wrong moment.
TEST_F(LivenessInStore, ManyShortLivesDisturbNobodyWhoAsks) {
  constexpr int kLives = 300;
  const auto path = folder() / "store" / "status";
  const pid_t breeder = ::fork();
  if (breeder == 0) {
    const auto status = StatusFile::open(path);
    for (int i = 0; i < kLives; ++i) {
      const pid_t pid = ::fork();
      if (pid == 0) {
        status->claim("short", 1);
        ::_exit(0);
      }
      ::waitpid(pid, nullptr, 0);
    }
    ::_exit(0);
  }
  int ended = 0;
  while (::waitpid(breeder, &ended, WNOHANG) == 0) {
    for (int i = 0; i < 50; ++i) ASSERT_LE(store().processes().size(), 1u);
  }
  EXPECT_EQ(ended, 0);
  EXPECT_TRUE(store().processes().empty());
}

}  // namespace
}  // namespace Kestrav::Config
