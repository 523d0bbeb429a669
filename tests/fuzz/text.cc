// Any text is either refused with a reason or becomes a configuration. A configuration goes into a
// store, is dumped, loaded into an empty store and dumped again, without any difference.
//
// Input: a text; or a zero byte, and then choices from which a text of known keys and mostly right
// values is made.
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "platform/common/Exception.h"
#include "platform/config/records/Field.h"
#include "platform/config/records/Gid.h"
#include "platform/config/records/Tables.h"
#include "platform/config/text/Emitter.h"
#include "platform/config/text/Reader.h"
#include "platform/config/text/Text.h"

namespace {

using namespace Kestrav::Config;
using namespace Kestrav::Config::Text;

void require(bool condition) {
  if (!condition) std::abort();
}

// Makes a text from choices.
class Generator {
 public:
  explicit Generator(std::string_view choices) : choices_(choices) {}

  std::string text() {
    for (std::size_t count = choose(7); count > 0; --count) {
      const Table& table = tables()[choose(tables().size())];
      if (table.owner == 0) addTable(table);
    }
    return std::move(out_).str();
  }

 private:
  std::size_t choose(std::size_t count) {
    if (choices_.empty() || count == 0) return 0;
    const auto choice = static_cast<unsigned char>(choices_.front());
    choices_.remove_prefix(1);
    return choice % count;
  }
  template <std::size_t Size>
  std::string_view one(const std::string_view (&of)[Size]) {
    return of[choose(Size)];
  }

  void addTable(const Table& table) {
    emitter_.open(table.key);
    if (table.scope == Scope::kSystemSingle) {
      emitter_.comment("one record");
      addFields(*table.type, {});
    } else {
      for (std::size_t count = choose(4); count > 0; --count) addRecord(table);
    }
    emitter_.close();
  }

  void addRecord(const Table& table) {
    emitter_.openItem();
    addFields(*table.type, table.ownerField);
    for (const Table& nested : tables()) {
      if (nested.owner != table.gid || choose(2) == 0) continue;
      emitter_.open(nested.keyInOwner);
      for (std::size_t count = choose(4); count > 0; --count) addRecord(nested);
      emitter_.close();
    }
    if (table.gid == GID_PROTECTED_DOMAIN && choose(2) != 0) {
      emitter_.open("configuration");
      for (const Table& own : tables()) {
        if (own.scope == Scope::kDomainList && choose(4) == 3) addTable(own);
      }
      emitter_.close();
    }
    emitter_.closeItem();
  }

  void addFields(const RecordType& type, std::string_view hidden) {
    const std::vector<const Field*> fields = visibleFields(type, hidden);
    std::vector<const Field*> chosen;
    for (const Field* field : fields) {
      if (field->required) chosen.push_back(field);
    }
    for (std::size_t count = choose(8); count > 0; --count) {
      const Field* field = fields[choose(fields.size())];
      if (std::find(chosen.begin(), chosen.end(), field) == chosen.end()) chosen.push_back(field);
    }
    for (const Field* field : chosen) addField(*field);
    for (const Criterion& criterion : type.criteria) {
      if (choose(2) != 0) emitter_.text(criterion.name, one(kCriteria));
    }
  }

  void addField(const Field& field) {
    switch (field.kind) {
      case Kind::kStruct:
        emitter_.open(field.name);
        addFields(*field.element, {});
        emitter_.close();
        return;
      case Kind::kList:
      case Kind::kArray:
        emitter_.open(field.name);
        for (std::size_t count = choose(4); count > 0; --count) {
          emitter_.openItem();
          addFields(*field.element, {});
          emitter_.closeItem();
        }
        emitter_.close();
        return;
      default:
        emitter_.text(field.name, value(field));
    }
  }

  std::string value(const Field& field) {
    switch (field.kind) {
      case Kind::kText:
        if (field.syntax == "line") return std::string(one(kNames));
        return std::string(one(kTexts));
      case Kind::kReference:
      case Kind::kTextReference:
        return std::string(one(kNames));
      case Kind::kBool:
      case Kind::kBit:
        return choose(2) != 0 ? "on" : "off";
      case Kind::kEnum:
        if (choose(8) == 7) return std::to_string(choose(256));
        return std::string(field.choices[choose(field.choices.size())].word);
      case Kind::kFloat:
        return std::string(one(kReals));
      case Kind::kAddressMask:
        return std::string(one(kTexts));
      default: {
        const std::int64_t numbers[] = {0, 1, 7, field.minimum, field.maximum, field.defaultValue};
        return std::to_string(numbers[choose(std::size(numbers))]);
      }
    }
  }

  static constexpr std::string_view kNames[] = {
      "a",    "b",    "A",   "a.example", "none", "#1",  "#7",  "é",      "two words", "\"q\"",
      "x: y", "\xff", "<x>", "~",         "null", "- d", " b ", "tab\tx", "true",      "12"};
  static constexpr std::string_view kTexts[] = {"a.example",
                                                "b.example",
                                                "user@example.com",
                                                "*@*.example",
                                                "192.0.2.1",
                                                "192.0.2.0/24",
                                                "2001:db8::/32",
                                                "192.0.2.1-192.0.2.9",
                                                "X-Header",
                                                "release",
                                                "%%LOCAL%%@%%DOMAIN%%",
                                                "%%LOCAL%%",
                                                "spam-",
                                                "[192.0.2.1]",
                                                "a, b",
                                                "line\n",
                                                "two\n\nlines\n\n",
                                                "\n",
                                                " \n x",
                                                "\xff\xfe",
                                                "^a(b|c)$",
                                                "(",
                                                "[a-z]",
                                                "any",
                                                "é\t\"'\\",
                                                "-----BEGIN CERTIFICATE-----\nMIIE\n"};
  static constexpr std::string_view kCriteria[] = {"any",
                                                   "group:a",
                                                   "group:b",
                                                   "external:x",
                                                   "user@example.com",
                                                   "example.com",
                                                   "@example.com",
                                                   ".example.com",
                                                   "*@*.example",
                                                   "/^a/",
                                                   "wildcard:a",
                                                   "regex:x",
                                                   "address:a@b.example",
                                                   "192.0.2.0/24",
                                                   "192.0.2.1-192.0.2.9",
                                                   "2001:db8::1",
                                                   "mask:10.0.0.1",
                                                   "wildcard:*"};
  static constexpr std::string_view kReals[] = {"0", "95.5", "-1", "1e30", ".nan", ".inf", "0.1"};

  std::string_view choices_;
  std::ostringstream out_;
  Emitter emitter_{out_};
};

// A store in memory, without a name in the file system.
class MemoryStore {
 public:
  MemoryStore() {
    const bool memory = std::filesystem::is_directory("/dev/shm");
    std::string folder = std::string(memory ? "/dev/shm" : "/tmp") + "/kestrav-fuzz-XXXXXX";
    require(::mkdtemp(folder.data()) != nullptr);
    ConfigStore::Options options;
    options.initialMapSize = 256u << 20;
    options.journalEntries = options.journalEntriesHard = 16;
    store_ = ConfigStore::open(folder + "/store", options);
    std::filesystem::remove_all(folder);
  }

  // Replaces the contents. Empties the store first, so that numbers do not depend on earlier
  // inputs.
  void load(const Configuration& configuration) {
    if (filled_) store_->commit(differences(Configuration(), store_->snapshot()));
    filled_ = true;
    store_->commit(differences(configuration, store_->snapshot()));
  }
  bool holds(const Configuration& configuration) const {
    return differences(configuration, store_->snapshot()).empty();
  }
  std::string dump(bool secrets) const {
    std::ostringstream out;
    write(store_->snapshot(), out, {secrets});
    return std::move(out).str();
  }

 private:
  std::shared_ptr<ConfigStore> store_;
  bool filled_ = false;
};

std::optional<Configuration> parsed(const std::string& text) {
  const std::vector<Source> sources{{"fuzz.yaml", text}};
  std::vector<Problem> problems;
  auto configuration = read(std::span<const Source>(sources), problems);
  require(configuration.has_value() == (countOf(Severity::kMistake, problems) == 0));
  for (const Problem& problem : problems) {
    require(problem.toString().find('\n') == std::string::npos);
  }
  return configuration;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string text(reinterpret_cast<const char*>(data), size);
  if (text.starts_with('\0')) text = Generator(std::string_view(text).substr(1)).text();
  const auto configuration = parsed(text);
  if (!configuration || configuration->records().empty()) return 0;

  static MemoryStore first;
  static MemoryStore second;
  try {
    first.load(*configuration);
  } catch (const Kestrav::Exception& exception) {
    require(exception.code() == Kestrav::Exception::kBadText);  // numbers collide
    return 0;
  }
  require(first.holds(*configuration));
  const std::string dump = first.dump(true);
  const auto again = parsed(dump);
  require(again.has_value());
  require(first.holds(*again));
  second.load(*again);
  require(second.dump(true) == dump);
  parsed(first.dump(false));
  return 0;
}
