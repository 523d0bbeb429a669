// vexactl: writes, reads and explains a gateway's configuration.
#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <functional>
#include <iostream>
#include <string_view>

#include "platform/common/Logger.h"
#include "platform/config/text/Nearest.h"
#include "tools/Messages.h"
#include "tools/Output.h"
#include "tools/Verbs.h"

namespace {

using namespace Kestrav::Tool;

constexpr const char* kDefaultStore = "/var/lib/kestrav/store";

bool colourWanted() {
  const char* terminal = std::getenv("TERM");
  return isatty(STDOUT_FILENO) != 0 && std::getenv("NO_COLOR") == nullptr &&
         (terminal == nullptr || std::string_view(terminal) != "dumb");
}

// When a standard stream is closed at the start, the store's next file would get its number, and
// output would be written into that file.
void occupyStandardStreams() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(descriptor, F_GETFD) != -1 || errno != EBADF) continue;
    // open() takes the lowest free number. Writing to a stdout that was closed still fails.
    const int flags = descriptor == STDERR_FILENO ? O_WRONLY : O_RDONLY;
    if (open("/dev/null", flags) != descriptor) std::_Exit(kBadInput);
  }
}

int reportWrongUse(const CLI::App& app, const CLI::ParseError& error) {
  const std::vector<CLI::App*> given = app.get_subcommands();
  std::vector<std::string> verbs;
  for (const CLI::App* verb : app.get_subcommands(nullptr)) verbs.push_back(verb->get_name());
  const std::vector<std::string> rest = app.remaining(true);
  const auto option = std::find_if(rest.begin(), rest.end(),
                                   [](const std::string& word) { return word.starts_with('-'); });
  const auto is = [&](CLI::ExitCodes code) {
    return error.get_exit_code() == static_cast<int>(code);
  };
  std::string message = oneLine(error.what());
  if (given.empty() && rest.empty() && is(CLI::ExitCodes::RequiredError)) {
    message = "no verb; expected " + Kestrav::Config::Text::alternatives(verbs);
  } else if (given.empty() && !rest.empty() && !rest.front().starts_with('-')) {
    message = unknown("verb", rest.front(), verbs);
  } else if (option != rest.end()) {
    message = "there is no option \"" + oneLine(*option) + "\"";
  } else if (is(CLI::ExitCodes::ExtrasError) && !rest.empty()) {
    message = "unexpected argument \"" + oneLine(rest.front()) + "\"";
  }
  const std::string verb = given.empty() ? "" : " " + given.front()->get_name();
  std::cerr << "vexactl: " << message << " (see vexactl" << verb << " --help)\n";
  return kBadInput;
}

// Runs the verb and flushes its output. Returns the exit code.
int run(const std::function<int()>& verb, Output& output) {
  int result = kBadInput;
  try {
    result = verb();
  } catch (const std::exception& error) {
    std::cerr << "vexactl: " << explainFailure(error) << "\n";
  }
  if (const int failure = output.finish()) {
    std::cerr << "vexactl: cannot write the output: " << std::strerror(failure) << "\n";
    return kBadInput;
  }
  return result;
}

}  // namespace

int main(int argc, char** argv) {
  // Notices of the platform are not for the terminal.
  Kestrav::Logger::instance().threshold(Kestrav::Logger::Severity::kWarning);
  occupyStandardStreams();
  std::signal(SIGPIPE, SIG_IGN);
  Output output(STDOUT_FILENO);
  Context context{kDefaultStore,
                  output.stream(),
                  std::cerr,
                  isatty(STDOUT_FILENO) != 0,
                  colourWanted(),
                  isatty(STDERR_FILENO) != 0,
                  ""};
  std::function<int()> verb;

  CLI::App app{"Writes, reads and explains the configuration of a mail gateway.", "vexactl"};
  app.group("Verbs");  // the verbs inherit it
  app.get_formatter()->label("SUBCOMMAND", "VERB");
  app.require_subcommand(1);
  app.fallthrough();
  app.set_version_flag("--version", "vexactl " KESTRAV_VERSION);
  app.add_option("--store", context.store, "Folder of the configuration store")
      ->capture_default_str();
  app.add_option("--group", context.group,
                 "Group, by name or number, that may write to the store like its owner");
  app.footer(
      "Every verb takes --store FOLDER and --group GROUP.\n"
      "Exit codes: 0 done, 1 the answer is no, 2 wrong use or bad input.");

  Files files;
  auto* checkVerb = app.add_subcommand("check", "Report every mistake in configuration files");
  checkVerb->add_option("FILE", files, "YAML files, or folders of them")->required();
  checkVerb->callback([&] { verb = [&] { return check(context, files); }; });

  LoadOptions loadOptions;
  auto* loadVerb = app.add_subcommand(
      "load", "Replace the configuration with that of the files, all or nothing");
  loadVerb->add_option("FILE", loadOptions.files, "YAML files, or folders of them")->required();
  loadVerb->add_flag("--dry-run", loadOptions.dryRun, "Print what would change; change nothing");
  loadVerb->callback([&] { verb = [&] { return load(context, loadOptions); }; });

  bool secrets = false;
  auto* dumpVerb = app.add_subcommand("dump", "Print the configuration as YAML that loads back");
  dumpVerb->add_flag("--secrets", secrets, "Print secrets instead of masking them");
  dumpVerb->callback([&] { verb = [&] { return dump(context, secrets); }; });

  GetOptions getOptions;
  auto* getVerb = app.add_subcommand("get", "Print one record, or the names of a table's records");
  getVerb->add_option("TABLE", getOptions.table,
                      "Key of the table, as in the YAML form; default: list the tables");
  getVerb->add_option("NAME", getOptions.name,
                      "Name or id of the record; default: list the records");
  getVerb->add_option("--domain", getOptions.domain,
                      "Protected domain; look in its own configuration");
  getVerb->add_flag("--all", getOptions.all, "Also print fields that hold their default");
  getVerb->add_flag("--json", getOptions.json, "JSON of all fields instead of YAML");
  getVerb->add_flag("--secrets", getOptions.secrets, "Print secrets instead of masking them");
  getVerb->callback([&] { verb = [&] { return get(context, getOptions); }; });

  ExplainOptions explainOptions;
  auto* explainVerb =
      app.add_subcommand("explain", "Show which policies apply to a message, and why");
  explainVerb->add_option("--client", explainOptions.client, "IP address of the connecting client")
      ->required();
  explainVerb
      ->add_option("--server", explainOptions.server, "IP address that the client connected to")
      ->required();
  explainVerb->add_option("--from", explainOptions.sender,
                          "Envelope sender; default: the null sender");
  explainVerb->add_option("--rcpt", explainOptions.recipients,
                          "Envelope recipient; can be repeated");
  explainVerb->add_flag("--json", explainOptions.json, "One JSON document instead of text");
  explainVerb->callback([&] { verb = [&] { return explain(context, explainOptions); }; });

  DiffOptions diffOptions;
  auto* diffVerb =
      app.add_subcommand("diff", "Compare configurations record by record, field by field");
  diffVerb->add_option("FROM", diffOptions.from, "File, folder of files, or store")->required();
  diffVerb->add_option("TO", diffOptions.to, "The same; default: the store of --store");
  diffVerb->add_flag("--json", diffOptions.json, "JSON instead of text");
  diffVerb->add_flag("--secrets", diffOptions.secrets, "Print secrets instead of masking them");
  diffVerb->callback([&] { verb = [&] { return diff(context, diffOptions); }; });

  WatchOptions watchOptions;
  auto* watchVerb =
      app.add_subcommand("watch", "Print each change as it is applied, until interrupted");
  watchVerb->add_option("--changes", watchOptions.changes, "End after this many revisions")
      ->check(CLI::Range(1, 1'000'000'000));
  watchVerb->add_flag("--json", watchOptions.json, "One JSON document per line");
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
  setVerb->add_option("SWITCH", switchName, "Name of the switch, as `status` prints it")
      ->required();
  setVerb->add_option("VALUE", switchValue, "on or off")->required();
  setVerb->callback([&] { verb = [&] { return set(context, switchName, switchValue); }; });

  auto* verifyVerb = app.add_subcommand(
      "verify", "Check the whole store for damage; processes may use it meanwhile");
  verifyVerb->callback([&] { verb = [&] { return verify(context); }; });

  auto* compactVerb = app.add_subcommand(
      "compact",
      "Shrink the store and forget its history and erased secrets; processes may use it meanwhile");
  compactVerb->callback([&] { verb = [&] { return compact(context); }; });

  auto* schemaVerb = app.add_subcommand("schema", "Print the JSON schema of the YAML form");
  schemaVerb->callback([&] { verb = [&] { return schema(context); }; });

  auto* recordsVerb = app.add_subcommand("records", "Print what every field of every record means");
  recordsVerb->callback([&] { verb = [&] { return records(context); }; });

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() != 0) return reportWrongUse(app, error);
    return run([&] { return app.exit(error, context.out, context.err); }, output);
  }
  return run(verb, output);
}
