// vexactl: writes, reads and explains a gateway's configuration.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <exception>
#include <functional>
#include <iostream>

#include "common/Exception.h"
#include "common/Logger.h"
#include "tools/Verbs.h"

namespace {

using namespace Kestrav::Tool;

constexpr const char* kDefaultStore = "/var/lib/kestrav/store";

bool colourWanted() {
  return isatty(STDOUT_FILENO) != 0 && std::getenv("NO_COLOR") == nullptr;
}

}  // namespace

int main(int argc, char** argv) {
  // What the platform notes in passing is not for the terminal.
  Kestrav::Logger::instance().threshold(Kestrav::Logger::Severity::kWarning);
  Context context{kDefaultStore, std::cout, std::cerr, colourWanted(), isatty(STDERR_FILENO) != 0};
  std::function<int()> verb;

  CLI::App app{"Writes, reads and explains the configuration of a mail gateway.", "vexactl"};
  app.require_subcommand(1);
  app.fallthrough();
  app.set_version_flag("--version", "vexactl " KESTRAV_VERSION);
  app.add_option("--store", context.store, "Folder of the configuration store")
      ->capture_default_str();
  app.footer("Exit codes: 0 done, 1 the answer is no, 2 wrong use or bad input.");

  Files files;
  auto* checkVerb = app.add_subcommand("check", "Say every mistake in configuration files");
  checkVerb->add_option("FILE", files, "YAML files, or folders of them")->required();
  checkVerb->callback([&] { verb = [&] { return check(context, files); }; });

  LoadOptions loadOptions;
  auto* loadVerb = app.add_subcommand(
      "load", "Make the store hold what the files say: all of it, or nothing changes");
  loadVerb->add_option("FILE", loadOptions.files, "YAML files, or folders of them")->required();
  loadVerb->add_flag("--dry-run", loadOptions.dryRun, "Say what would change, and change nothing");
  loadVerb->callback([&] { verb = [&] { return load(context, loadOptions); }; });

  bool secrets = false;
  auto* dumpVerb = app.add_subcommand("dump", "Print the configuration as YAML that loads back");
  dumpVerb->add_flag("--secrets", secrets, "Print secrets instead of masking them");
  dumpVerb->callback([&] { verb = [&] { return dump(context, secrets); }; });

  GetOptions getOptions;
  auto* getVerb = app.add_subcommand("get", "Print one record, or the names of a table's records");
  getVerb->add_option("TABLE", getOptions.table, "Key of the table, as in the YAML form")
      ->required();
  getVerb->add_option("NAME", getOptions.name, "Name or id of the record");
  getVerb->add_option("--domain", getOptions.domain,
                      "Protected domain whose own configuration to look in");
  getVerb->add_flag("--json", getOptions.json, "JSON instead of YAML");
  getVerb->add_flag("--secrets", getOptions.secrets, "Print secrets instead of masking them");
  getVerb->callback([&] { verb = [&] { return get(context, getOptions); }; });

  ExplainOptions explainOptions;
  auto* explainVerb = app.add_subcommand("explain", "Tell which policies a message gets, and why");
  explainVerb->add_option("--client", explainOptions.client, "IP address of the connecting client")
      ->required();
  explainVerb
      ->add_option("--server", explainOptions.server, "IP address that the client connected to")
      ->required();
  explainVerb->add_option("--from", explainOptions.sender,
                          "Envelope sender; empty for the null sender");
  explainVerb->add_option("--rcpt", explainOptions.recipients,
                          "Envelope recipient; may be given often");
  explainVerb->add_flag("--json", explainOptions.json, "One JSON document instead of text");
  explainVerb->callback([&] { verb = [&] { return explain(context, explainOptions); }; });

  DiffOptions diffOptions;
  auto* diffVerb =
      app.add_subcommand("diff", "Compare configurations record by record, field by field");
  diffVerb->add_option("FROM", diffOptions.from, "File, folder of files, or store")->required();
  diffVerb->add_option("TO", diffOptions.to, "The same; the store of --store when left out");
  diffVerb->add_flag("--json", diffOptions.json, "JSON instead of text");
  diffVerb->add_flag("--secrets", diffOptions.secrets, "Print secrets instead of masking them");
  diffVerb->callback([&] { verb = [&] { return diff(context, diffOptions); }; });

  WatchOptions watchOptions;
  auto* watchVerb =
      app.add_subcommand("watch", "Print each change as it is applied, until interrupted");
  watchVerb->add_option("--changes", watchOptions.changes, "End after this many revisions")
      ->check(CLI::PositiveNumber);
  watchVerb->add_flag("--json", watchOptions.json, "One JSON document a line");
  watchVerb->add_flag("--secrets", watchOptions.secrets, "Print secrets instead of masking them");
  watchVerb->callback([&] { verb = [&] { return watch(context, watchOptions); }; });

  bool statusJson = false;
  auto* statusVerb =
      app.add_subcommand("status", "Print the store's revision, processes, size and switches");
  statusVerb->add_flag("--json", statusJson, "JSON instead of text");
  statusVerb->callback([&] { verb = [&] { return status(context, statusJson); }; });

  std::string switchName;
  std::string switchValue;
  auto* setVerb = app.add_subcommand("set", "Turn a switch of the running gateway on or off");
  setVerb->add_option("SWITCH", switchName, "Its name, as `status` prints it")->required();
  setVerb->add_option("VALUE", switchValue, "on or off")->required();
  setVerb->callback([&] { verb = [&] { return set(context, switchName, switchValue); }; });

  auto* schemaVerb = app.add_subcommand("schema", "Print the JSON schema of the YAML form");
  schemaVerb->callback([&] { verb = [&] { return schema(context); }; });

  auto* recordsVerb = app.add_subcommand("records", "Print what every field of every record means");
  recordsVerb->callback([&] { verb = [&] { return records(context); }; });

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? kDone : kBadInput;
  }
  try {
    const int result = verb();
    std::cout.flush();
    return result;
  } catch (const Kestrav::Exception& error) {
    std::cerr << "vexactl: " << error.asString() << "\n";
  } catch (const std::exception& error) {
    std::cerr << "vexactl: " << error.what() << "\n";
  }
  return kBadInput;
}
