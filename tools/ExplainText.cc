#include "tools/ExplainText.h"

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>
#include <ostream>

#include "tools/JsonText.h"

namespace Kestrav::Tool {
namespace {

using Json = nlohmann::ordered_json;

// A run: consecutive policies with the same outcome.
constexpr std::ptrdiff_t kLongestRun = 20;  // up to here every policy is named
constexpr std::ptrdiff_t kNamedOfLongRun = 10;

class Printer {
 public:
  explicit Printer(const Context& context) : out_(context.out), colour_(context.colour) {}

  void document(const Json& document) {
    out_ << "revision " << document["revision"].get<std::uint64_t>() << "\n";
    if (!document["contentInspection"].get<bool>()) {
      out_ << "content inspection is off: no inspection profile is in effect\n";
    }
    const Json& connection = document["connection"];
    heading("connection from " + plain(connection["client"]) + " to " +
            plain(connection["server"]));
    policy(connection["policy"], "IP policy");
    considered(connection["considered"], "IP policies");
    if (!connection["policy"].is_null()) profiles(connection["policy"]);

    const std::string sender = document["sender"].is_null() ? "<>" : plain(document["sender"]);
    for (const Json& recipient : document["recipients"]) {
      heading("recipient " + plain(recipient["recipient"]) + ", sender " + sender);
      line(1) << plain(recipient["direction"]) << ": " << plain(recipient["directionWhy"]) << "\n";
      if (recipient["from"] == "ip-policy") {
        line(1) << "the connection's policy is exclusive and applies to the recipient, too\n";
      } else {
        policy(recipient["policy"], plain(recipient["direction"]) + " policy");
        considered(recipient["considered"], plain(recipient["direction"]) + " policies");
      }
      if (!recipient["policy"].is_null()) profiles(recipient["policy"]);
    }
  }

 private:
  // Any value on one line: lists joined by commas, maps as "name value", inner ones in parentheses.
  static std::string flat(const Json& value) {
    if (value.empty()) return "none";
    if (!value.is_structured()) return plain(value);
    std::string joined;
    for (const auto& [key, entry] : value.items()) {
      if (!joined.empty()) joined += ", ";
      if (value.is_object()) joined += key + " ";
      joined += entry.is_structured() ? "(" + flat(entry) + ")" : flat(entry);
    }
    return joined;
  }

  std::ostream& line(int depth) {
    return out_ << std::string(static_cast<std::size_t>(depth) * 2, ' ');
  }
  std::string strong(const std::string& words) const {
    return colour_ ? "\033[1m" + words + "\033[0m" : words;
  }
  void heading(const std::string& words) { out_ << "\n" << strong(words) << "\n"; }

  void policy(const Json& policy, const std::string& kind) {
    if (policy.is_null()) {
      line(1) << strong("no " + kind + " matches") << "\n";
      return;
    }
    line(1) << kind << " " << strong("\"" + plain(policy["name"]) + "\"") << ", id "
            << plain(policy["id"]) << ", ngid " << plain(policy["ngid"]);
    if (policy.contains("domainName")) out_ << ", of " << plain(policy["domainName"]);
    if (policy.contains("exclusive") && policy["exclusive"].get<bool>()) out_ << ", exclusive";
    out_ << "\n";
    line(2) << "access: " << flat(policy["access"]) << "\n";
    line(2) << "message must be parsed: "
            << (policy["messageParsingRequired"].get<bool>() ? "yes" : "no") << "\n";
  }

  void considered(const Json& list, const std::string& kind) {
    if (list.empty()) return;
    line(1) << kind << " in order:\n";
    for (auto from = list.begin(); from != list.end();) {
      const auto to = std::find_if(from, list.end(), [&](const Json& policy) {
        return policy["outcome"] != (*from)["outcome"];
      });
      run(from, to);
      from = to;
    }
  }

  void run(Json::const_iterator from, Json::const_iterator to) {
    const auto length = std::distance(from, to);
    const auto named = length > kLongestRun ? kNamedOfLongRun : length;
    const char* bullet = (*from)["outcome"] == "chosen" ? "* " : "- ";
    const std::string outcome = plain((*from)["outcomeText"]);
    for (const auto end = from + named; from != end; ++from) {
      line(2) << bullet << "\"" << plain((*from)["name"]) << "\" of "
              << plain((*from)["domainName"]) << ": " << outcome << "\n";
    }
    if (from != to) line(2) << "- " << std::distance(from, to) << " more: " << outcome << "\n";
  }

  void profiles(const Json& policy) {
    for (const Json& named : policy["named"]) {
      if (named["carried"].get<bool>()) continue;
      line(1) << plain(named["kind"]) << " profile ";
      if (named["found"].get<bool>()) {
        out_ << "\"" << plain(named["name"]) << "\" (id " << plain(named["id"])
             << ") is configured but not in effect\n";
      } else {
        out_ << "#" << plain(named["id"]) << " is configured but does not exist\n";
      }
    }
    for (const auto& [kind, profile] : policy["profiles"].items()) this->profile(kind, profile);
  }

  // Of any kind.
  void profile(const std::string& kind, const Json& profile) {
    const Json& record = profile["record"];
    line(1) << kind << " profile " << strong("\"" + plain(profile["name"]) + "\"") << ", from "
            << plain(record["table"]) << " of " << plain(record["domainName"]) << ", id "
            << plain(record["id"]) << "\n";
    for (const auto& [group, on] : profile["switches"].items()) {
      if (!on.empty()) line(2) << group << " on: " << flat(on) << "\n";
    }
    for (const auto& [name, value] : profile["settings"].items())
      line(2) << name << ": " << flat(value) << "\n";
    for (const Json& verdict : profile["verdicts"]) {
      line(2) << "when " << plain(verdict["text"]) << ":";
      if (verdict["default"].get<bool>()) {
        out_ << " as for any other verdict\n";
      } else {
        actions(verdict["actions"]);
      }
    }
    if (!profile.contains("defaultActions")) return;
    line(2) << "any other verdict:";
    actions(profile["defaultActions"]);
  }

  void actions(const Json& list) {
    if (list.empty()) {
      out_ << " nothing\n";
      return;
    }
    out_ << "\n";
    int number = 0;
    for (const Json& action : list) line(3) << ++number << ". " << plain(action["text"]) << "\n";
  }

  std::ostream& out_;
  const bool colour_;
};

}  // namespace

void printExplanation(const nlohmann::ordered_json& document, const Context& context) {
  Printer(context).document(document);
}

}  // namespace Kestrav::Tool
