// What the roles of the program "peer" share.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/config/store/ConfigStore.h"
#include "tests/processes/Follower.h"

namespace Kestrav::Testing {

using Arguments = std::vector<std::string>;
using Store = std::shared_ptr<Config::ConfigStore>;

// One line, written at once. Ends the process when nobody reads it.
void say(const std::string& text);
// Reports what is wrong and ends the process. Any thread may call it.
[[noreturn]] void complain(const std::string& what);
int numberAt(const Arguments& arguments, std::size_t index);
// Until the end of stdin.
void answerCommands(Follower& follower);

// The torture's roles.
//
// ARGUMENTS: the writer's number, a seed, how many of its commits are known to be in the store, and
// "torn" or "lost" for a writer that does what it must not. Commits until the end of stdin. Says
// "commit N REVISION" for each one, "full" for one that found no room.
void tortureWrite(const Store& store, const Arguments& arguments);
// ARGUMENT: the number of reading threads. Follows the store as "follow" does.
void tortureFollow(const Store& store, const Arguments& arguments);
// ARGUMENT: the number of reading threads. Only looks at the store. The command "asked" is answered
// with the number of looks.
void tortureLook(const Store& store, const Arguments& arguments);

}  // namespace Kestrav::Testing
