// The verbs of vexactl, one source each. main.cc parses the command line.
#pragma once

#include <filesystem>
#include <iosfwd>
#include <string>
#include <vector>

namespace Kestrav::Tool {

// Exit codes. Scripts rely on them.
inline constexpr int kDone = 0;
inline constexpr int kNo = 1;        // the answer is no
inline constexpr int kBadInput = 2;  // wrong use or bad input

struct Context {
  std::filesystem::path store;
  std::ostream& out;
  std::ostream& err;
  bool terminal = false;  // out is a terminal
  bool colour = false;    // out is a terminal that shows colours
  bool progress = false;  // err is a terminal
  std::string group;      // trusted like the owner of the store; empty: none
};

using Files = std::vector<std::filesystem::path>;

// check: reads files as `load` does and reports every mistake. Needs no store.
int check(const Context& context, const Files& files);

struct LoadOptions {
  Files files;
  bool dryRun = false;
};
// load: replaces the configuration with that of the files in one revision, or changes nothing.
int load(const Context& context, const LoadOptions& options);

// dump: the whole configuration as YAML that loads back.
int dump(const Context& context, bool secrets);

struct GetOptions {
  std::string table;   // empty: list the tables
  std::string name;    // empty: list the table
  std::string domain;  // a protected domain's name or a number; empty: the system
  bool all = false;    // including fields at their defaults
  bool json = false;
  bool secrets = false;
};
int get(const Context& context, const GetOptions& options);

struct ExplainOptions {
  std::string client;
  std::string server;
  std::string sender;  // empty or "<>": the null sender
  std::vector<std::string> recipients;
  bool json = false;
};
int explain(const Context& context, const ExplainOptions& options);

struct DiffOptions {
  std::string from;  // a file, a folder of files or a store's folder
  std::string to;    // empty: the store of --store
  bool json = false;
  bool secrets = false;
};
// diff: kDone when both are equal, kNo when they differ.
int diff(const Context& context, const DiffOptions& options);

struct WatchOptions {
  bool json = false;
  bool secrets = false;
  int changes = 0;  // revisions to wait for; 0: until interrupted
};
int watch(const Context& context, const WatchOptions& options);

int status(const Context& context, bool json);

// set: turns a switch of the status area on or off.
int set(const Context& context, const std::string& name, const std::string& value);

// verify: checks the whole store. kDone when it is undamaged, kNo with one line for each damage.
int verify(const Context& context);

// compact: writes the data file again, without the journal and all that was erased.
int compact(const Context& context);

// schema: the JSON schema of the YAML form.
int schema(const Context& context);
// records: what every field of every record means, as Markdown.
int records(const Context& context);

}  // namespace Kestrav::Tool
