#include "platform/config/client/StoreAccess.h"

#include <atomic>
#include <string>
#include <system_error>
#include <thread>

#include "platform/common/Exception.h"
#include "platform/common/LogCodes.h"
#include "platform/common/Logger.h"

namespace Kestrav::Config::Client {

Snapshot newestSnapshot() {
  const std::shared_ptr<ConfigStore> store = ConfigStore::attached();
  return store != nullptr ? store->snapshot() : ConfigStore::emptySnapshot();
}

bool isDamage(const std::exception& reason) {
  const auto* failure = dynamic_cast<const Exception*>(&reason);
  return failure != nullptr && failure->code() == StoreError::kDamaged;
}

void logStoreFailure(const char* operation, const std::exception& reason) {
  const auto* failure = dynamic_cast<const Exception*>(&reason);
  if (failure != nullptr && failure->code() == StoreError::kForked) {
    static std::atomic<bool> logged{false};
    if (logged.exchange(true)) return;
  }
  Logger::instance(false).log(LogCode::kStoreFailure, "%s\x01%s", operation, reason.what());
}

void atNewestRevision(const std::function<void()>& work) {
  std::exception_ptr failure;
  std::thread thread;
  try {
    thread = std::thread([&] {
      try {
        work();
      } catch (...) {
        failure = std::current_exception();
      }
    });
  } catch (const std::system_error& reason) {
    throw Exception(std::string("A thread to read the store cannot be started: ") + reason.what(),
                    StoreError::kInternal);
  }
  thread.join();
  if (failure) std::rethrow_exception(failure);
}

}  // namespace Kestrav::Config::Client
