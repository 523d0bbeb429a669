// Stores as programs of schema 1 wrote them.
//
// Frozen: nothing in here may follow a change of the library, whose own encoders it does not use.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "RawStore.h"

namespace Kestrav::Config::StoreTesting {

class Schema1Store {
 public:
  struct Change {
    unsigned gid, domain, id;
    std::uint64_t position;
    std::optional<std::string> record;  // its bytes, without lists; empty: erased
  };

  template <class Rec>
  static std::string bytesOf(const Rec& record) {
    return {reinterpret_cast<const char*>(&record), sizeof record};
  }

  static std::string row(std::string_view record) {
    std::string out(1, '\1');
    number(out, record.size());
    number(out, record.size());
    std::size_t at = 0;
    while (at < record.size()) {
      std::size_t end = at;
      std::size_t next = at;
      for (;;) {
        while (end < record.size() && record[end] != 0) ++end;
        next = end;
        while (next < record.size() && record[next] == 0) ++next;
        if (next - end >= 4 || next == end) break;
        end = next;
      }
      number(out, end - at);
      out.append(record.substr(at, end - at));
      number(out, next - end);
      at = next;
    }
    return out;
  }

  static std::string entry(unsigned gid, unsigned domain, unsigned id,
                           const std::optional<std::string>& before,
                           const std::optional<std::string>& after) {
    const bool same = before && after && *before == *after;
    std::string out;
    for (const unsigned field :
         {gid, domain, id, (before ? 1u : 0u) | (after ? 2u : 0u) | (same ? 4u : 0u),
          before ? static_cast<unsigned>(before->size()) : 0u}) {
      little(out, field, 4);
    }
    out += before.value_or("");
    if (!same) out += after.value_or("");
    return out;
  }

  void commit(const std::vector<Change>& changes) {
    ++revision_;
    std::uint32_t count = 0;
    for (const Change& change : changes) {
      const auto key = std::tuple(change.gid, change.domain, change.id);
      State& state = states_[{change.gid, change.domain}];
      const auto found = places_.find(key);
      std::optional<std::string> before;
      if (found != places_.end()) {
        const std::string at = rowKey(change, found->second);
        before = rows_[at];
        if (!change.record || found->second != change.position) {
          rows_.erase(at);
          places_.erase(found);
          --state.count;
          state.reordered = revision_;
        }
      }
      std::optional<std::string> after;
      if (change.record) {
        after = row(*change.record);
        rows_[rowKey(change, change.position)] = *after;
        if (places_.emplace(key, change.position).second) {
          ++state.count;
          state.reordered = revision_;
        }
      }
      state.changed = revision_;
      journal_[big(revision_, 8) + big(count++, 4)] =
          entry(change.gid, change.domain, change.id, before, after);
    }
  }

  std::map<std::string, std::string>& rows() { return rows_; }
  std::map<std::string, std::string>& journal() { return journal_; }

  static std::string rowKey(const Change& change, std::uint64_t position) {
    return big(change.gid, 4) + big(change.domain, 4) + big(position, 8) + big(change.id, 4);
  }
  static std::string big(std::uint64_t value, int bytes) {
    std::string out;
    for (int i = bytes - 1; i >= 0; --i) out += static_cast<char>(value >> (8 * i));
    return out;
  }

  void write(const std::filesystem::path& folder, std::size_t mapSize = 256u << 20) const {
    std::filesystem::create_directories(folder);
    RawStore store(folder, mapSize);
    RawStore::Pairs ids;
    for (const auto& [key, position] : places_) {
      const auto& [gid, domain, id] = key;
      ids.emplace_back(big(gid, 4) + big(domain, 4) + big(id, 4), little(position, 8));
    }
    RawStore::Pairs meta = {{"s", little(1, 4)}, {"r", little(revision_, 8)}, {"j", little(0, 8)}};
    for (const auto& [table, state] : states_) {
      const auto& [gid, domain] = table;
      meta.emplace_back(
          "t" + big(gid, 4) + big(domain, 4),
          little(state.count, 8) + little(state.changed, 8) + little(state.reordered, 8));
      meta.emplace_back("g" + big(gid, 4), little(state.changed, 8));
    }
    store.put("rows", {rows_.begin(), rows_.end()});
    store.put("ids", ids);
    store.put("journal", {journal_.begin(), journal_.end()});
    store.put("meta", meta);
  }

 private:
  struct State {
    std::uint64_t count = 0, changed = 0, reordered = 0;
  };

  static void little(std::string& out, std::uint64_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) out += static_cast<char>(value >> (8 * i));
  }
  static std::string little(std::uint64_t value, int bytes) {
    std::string out;
    little(out, value, bytes);
    return out;
  }
  static void number(std::string& out, std::uint64_t value) {
    for (; value >= 0x80; value >>= 7) out += static_cast<char>(value | 0x80);
    out += static_cast<char>(value);
  }

  std::uint64_t revision_ = 0;
  std::map<std::string, std::string> rows_, journal_;
  std::map<std::tuple<unsigned, unsigned, unsigned>, std::uint64_t> places_;
  std::map<std::pair<unsigned, unsigned>, State> states_;
};

}  // namespace Kestrav::Config::StoreTesting
