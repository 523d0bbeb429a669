#include "tools/ExplainText.h"

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>
#include <ostream>

namespace Kestrav::Tool {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::ptrdiff_t kLongestRun = 20;  // of policies with the same outcome that are all named
constexpr std::ptrdiff_t kNamedOfLongRun = 10;

class Printer {
 public:
  explicit Printer(const Context& context) : out_(context.out), colour_(context.colour) {}

  void document(const Json& document) {
    out_ << "revision " << document["revision"].get<std::uint64_t>() << "\n";
    if (!document["contentInspection"].get<bool>()) {
      out_ << "content inspection is switched off: no policy carries inspection profiles\n";
    }
    const Json& connection = document["connection"];
    heading("connection from " + text(connection["client"]) + " to " + text(connection["server"]));
    policy(connection["policy"], "IP policy");
    considered(connection["considered"], "IP policies");
    if (!connection["policy"].is_null()) profiles(connection["policy"]);

    const std::string sender = document["sender"].is_null() ? "<>" : text(document["sender"]);
    for (const Json& recipient : document["recipients"]) {
      heading("recipient " + text(recipient["recipient"]) + ", sender " + sender);
      line(1) << text(recipient["direction"]) << ": " << text(recipient["directionWhy"]) << "\n";
      if (recipient["from"] == "ip-policy") {
        line(1) << "the connection's policy is exclusive and is used for the recipient too\n";
      } else {
        policy(recipient["policy"], text(recipient["direction"]) + " policy");
        considered(recipient["considered"], text(recipient["direction"]) + " policies");
      }
      if (!recipient["policy"].is_null()) profiles(recipient["policy"]);
    }
  }

 private:
  static std::string text(const Json& value) {
    return value.is_string() ? value.get<std::string>()
                             : value.dump(-1, ' ', false, Json::error_handler_t::replace);
  }

  // A value on one line: lists joined by commas, maps as "name value".
  static std::string flat(const Json& value) {
    if (!value.is_structured())
      return value.is_boolean() ? (value.get<bool>() ? "on" : "off") : text(value);
    std::string joined;
    for (const auto& [key, entry] : value.items()) {
      if (!joined.empty()) joined += ", ";
      joined += value.is_object() ? key + " " + flat(entry) : flat(entry);
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
    line(1) << kind << " " << strong("\"" + text(policy["name"]) + "\"") << ", id "
            << text(policy["id"]) << ", ngid " << text(policy["ngid"]);
    if (policy.contains("domainName")) out_ << ", of " << text(policy["domainName"]);
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

  // Policies with the same outcome, one after the other; of very many only the first are named.
  void run(Json::const_iterator from, Json::const_iterator to) {
    const auto length = std::distance(from, to);
    const auto named = length > kLongestRun ? kNamedOfLongRun : length;
    const std::string outcome = text((*from)["outcome"]);
    for (const auto end = from + named; from != end; ++from) {
      line(2) << (outcome == "chosen" ? "* " : "- ") << "\"" << text((*from)["name"]) << "\" of "
              << text((*from)["domainName"]) << ": " << outcome << "\n";
    }
    if (from != to) line(2) << "- " << std::distance(from, to) << " more: " << outcome << "\n";
  }

  void profiles(const Json& policy) {
    for (const Json& named : policy["named"]) {
      if (policy["profiles"].contains(text(named["kind"]))) continue;
      line(1) << text(named["kind"]) << " profile ";
      if (named["found"].get<bool>()) {
        out_ << "\"" << text(named["name"]) << "\" (id " << text(named["id"])
             << ") is named and not carried\n";
      } else {
        out_ << "#" << text(named["id"]) << " is named and does not exist\n";
      }
    }
    for (const auto& [kind, profile] : policy["profiles"].items()) antispam(kind, profile);
  }

  void antispam(const std::string& kind, const Json& profile) {
    line(1) << kind << " profile " << strong("\"" + text(profile["name"]) + "\"") << ", from "
            << text(profile["record"]["table"]) << " of " << text(profile["record"]["domainName"])
            << ", id " << text(profile["record"]["id"]) << "\n";
    line(2) << "scanners on: " << flat(profile["scanners"]) << "\n";
    if (!profile["options"].empty()) line(2) << "options on: " << flat(profile["options"]) << "\n";
    for (const auto& [name, value] : profile["settings"].items())
      line(2) << name << ": " << flat(value) << "\n";
    for (const Json& verdict : profile["verdicts"]) {
      line(2) << "when " << text(verdict["classifier"]) << " says spam:";
      if (verdict["default"].get<bool>()) {
        out_ << " as for any other verdict\n";
      } else {
        actions(verdict["actions"]);
      }
    }
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
    for (const Json& action : list) line(3) << ++number << ". " << text(action["text"]) << "\n";
  }

  std::ostream& out_;
  const bool colour_;
};

}  // namespace

void printExplanation(const nlohmann::ordered_json& document, const Context& context) {
  Printer(context).document(document);
}

}  // namespace Kestrav::Tool
