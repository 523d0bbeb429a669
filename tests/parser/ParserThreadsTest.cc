// The parsers in several threads, including the first use of their libraries.
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "platform/parser/EmailAddress.h"
#include "platform/parser/Rfc2047.h"
#include "platform/parser/VexaConv.h"

namespace Kestrav {
namespace {

TEST(ParserThreads, FirstUseAndCopiesAreSafeFromManyThreads) {
  constexpr int kThreads = 8;
  constexpr int kRounds = 200;
  const EmailAddress shared = EmailAddress::rfc5321Parse("shared@münchen.example", false);
  std::atomic<int> good{0};
  std::atomic<bool> go{false};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&] {
      go.wait(false);
      for (int i = 0; i < kRounds; ++i) {
        const auto set = EmailAddress::rfc5322ParseSet(
            "=?utf-8?Q?J=C3=B6rg?= <a@b.example>, c@例え.example", true, false);
        const EmailAddress copy = shared;
        good +=
            set.begin()->asString() == "Jörg <a@b.example>" && copy == shared &&
            vexa_encode_rfc2047("日本語", "ISO-2022-JP") == "=?ISO-2022-JP?B?GyRCRnxLXDhsGyhC?=" &&
            VexaConv::fromUtf8("Entwürfe", "IMAP-mailbox-name", 0).asString() == "Entw&APw-rfe";
      }
    });
  }
  go = true;
  go.notify_all();
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(good, kThreads * kRounds);
}

}  // namespace
}  // namespace Kestrav
