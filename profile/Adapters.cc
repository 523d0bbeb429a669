#include "Adapters.h"

#include "platform/common/IPAddress.h"
#include "platform/common/IPAddressMask.h"
#include "platform/common/Strings.h"
#include "platform/config/records/SharedRecords.h"
#include "platform/regex/PatternContainer.h"
#include "platform/regex/StringContainer.h"

namespace Kestrav {

void adapter(StringContainer& out, int count, const __aps_hideheader_list_t* list) {
  for (int i = 0; i < count; ++i) {
    if (list[i].name[0] == '\0') continue;
    out.add(std::string(boundedText(list[i].name)));
  }
}

void adapter(std::list<std::string>& out, int count, const aps_fqdn_t* list) {
  for (int i = 0; i < count; ++i) {
    if (list[i].name[0] == '\0') continue;
    out.emplace_back(boundedText(list[i].name));
  }
}

void adapter(PatternContainer& out, int count, const aps_bounded_string* list) {
  for (int i = 0; i < count; ++i) {
    if (list[i].text[0] == '\0') continue;
    std::string entry(boundedText(list[i].text));
    stringLeftTrim(entry);
    stringRightTrim(entry);
    if (entry.empty()) continue;

    if (IPAddressMask::isValidIPAddressMask(entry)) {
      if (!IPAddress::isValidIPAddress(entry)) entry += ".*";
      out.add(entry);
    } else if (entry.find('@') != std::string::npos) {
      out.add(entry);
    } else {
      out.add("*@" + entry);
      out.add("*@*." + entry);
    }
  }
}

}  // namespace Kestrav
