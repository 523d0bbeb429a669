#include "platform/dictionary/ProfileDictionaryScanner.h"

#include <exception>
#include <utility>

#include "platform/common/Exception.h"
#include "platform/common/LogCodes.h"
#include "platform/common/Logger.h"
#include "platform/common/Strings.h"
#include "platform/common/Synchronized.h"
#include "platform/dictionary/CompiledItems.h"

namespace Kestrav {
namespace {

void logSkipped(const std::string& dictionary, const std::string& item, const std::string& reason) {
  Logger::instance(false).log(LogCode::kDictionaryItemSkipped, "%s\x01%s\x01%s", dictionary.c_str(),
                              item.c_str(), reason.c_str());
}

void logFailed(const std::string& scanner, const std::string& reason) {
  Logger::instance(false).log(LogCode::kDictionaryScanFailed, "%s\x01%s", scanner.c_str(),
                              reason.c_str());
}

}  // namespace

DictionaryScannerImpl::~DictionaryScannerImpl() = default;

ProfileDictionaryScanner::ProfileDictionaryScanner(std::string name) : name_(std::move(name)) {}

ProfileDictionaryScanner::ProfileDictionaryScanner(std::string name,
                                                   std::vector<__vexa_dictionary_item> items)
    : name_(std::move(name)), waiting_(std::move(items)) {}

ProfileDictionaryScanner::~ProfileDictionaryScanner() = default;

bool ProfileDictionaryScanner::add_pattern(const __vexa_dictionary_item& item) {
  Synchronized guard(mutex_);
  addWaiting();
  const bool left = leavesOut_;
  const bool added = add(item);
  if (added || leavesOut_ != left) current_.store(nullptr, std::memory_order_release);
  return added;
}

void ProfileDictionaryScanner::addWaiting() const {
  for (; nextWaiting_ < waiting_.size(); ++nextWaiting_) add(waiting_[nextWaiting_]);
  waiting_ = {};
  nextWaiting_ = 0;
}

bool ProfileDictionaryScanner::add(const __vexa_dictionary_item& item) const {
  std::shared_ptr<const Dictionary::Item> added;
  try {
    added = Dictionary::makeItem(item);
  } catch (const Exception& exception) {
    leavesOut_ = true;
    logSkipped(name_, std::string(boundedText(item.text)), exception.message());
  }
  if (!added) return false;
  items_.push_back(std::move(added));
  return true;
}

const Dictionary::CompiledItems& ProfileDictionaryScanner::compiled() const {
  const Dictionary::CompiledItems* current = current_.load(std::memory_order_acquire);
  if (current != nullptr) return *current;
  Synchronized guard(mutex_);
  current = current_.load(std::memory_order_relaxed);
  if (current != nullptr) return *current;
  addWaiting();
  built_.push_back(std::make_unique<const Dictionary::CompiledItems>(
      items_,
      [this](const Dictionary::Item& item, const std::string& reason) {
        logSkipped(name_, item.text, reason);
      },
      leavesOut_));
  current = built_.back().get();
  current_.store(current, std::memory_order_release);
  return *current;
}

void ProfileDictionaryScanner::compile() const {
  compiled();
}

std::size_t ProfileDictionaryScanner::size() const {
  Synchronized guard(mutex_);
  addWaiting();
  return items_.size();
}

void ProfileDictionaryScanner::scan(std::string_view text, ScanArea area,
                                    ScanResult& result) const {
  try {
    compiled().scan(text, area, result,
                    [this](const Dictionary::Item& item, const std::string& reason) {
                      logFailed(name_, "\"" + item.text + "\" was given up: " + reason);
                    });
  } catch (const std::exception& exception) {
    result.complete = false;
    logFailed(name_, exception.what());
  }
}

}  // namespace Kestrav
