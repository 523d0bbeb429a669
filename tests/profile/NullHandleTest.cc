// What each accessor throws on a null handle. Messages and lines appear in logs, so they are fixed.
#include <gtest/gtest.h>

#include <concepts>
#include <sstream>
#include <string>
#include <type_traits>

#include "Action.h"
#include "ActionContainer.h"
#include "NullUses.h"
#include "PolicyIPAddress.h"
#include "PolicyRecipient.h"
#include "ProfileAntiSpam.h"
#include "ProfileQuarantineFolder.h"
#include "ProfileWebFilter.h"
#include "platform/common/Exception.h"
#include "profile/ProfileImpl.h"
#include "profile/action/ActionImpl.h"
#include "tests/support/GeneratedSection.h"

using namespace Kestrav;
using namespace Kestrav::Testing;

namespace {

// An implementation is shared through handles only. Its count is in a virtual base, so no cast
// leads back from there.
template <class Impl>
concept Shared = std::derived_from<Impl, RefImpl> && std::derived_from<Impl, NonCopyable> &&
                 std::has_virtual_destructor_v<Impl> && !std::is_copy_constructible_v<Impl> &&
                 !std::is_copy_assignable_v<Impl> && !requires(RefImpl * base) {
  static_cast<Impl*>(base);
};
static_assert(Shared<ProfileImpl>);
static_assert(Shared<ActionImpl>);
static_assert(Shared<ActionContainerImpl>);
static_assert(Shared<ProfileQuarantineFolder>);

// Handles add no data to their base.
static_assert(sizeof(Profile) == sizeof(Ref<ProfileImpl>));
static_assert(sizeof(ProfileAntiSpam) == sizeof(Profile));
static_assert(sizeof(ProfileWebFilter) == sizeof(Profile));
static_assert(sizeof(Action) == sizeof(Ref<ActionImpl>));
static_assert(sizeof(ActionContainer) == sizeof(Ref<ActionContainerImpl>));
static_assert(sizeof(PolicyIPAddress) == sizeof(Policy) &&
              sizeof(PolicyRecipient) == sizeof(Policy));

void expectThrows(const NullUse& row) {
  SCOPED_TRACE(row.owner + ", " + row.accessor);
  try {
    row.use();
    ADD_FAILURE() << "nothing was thrown";
  } catch (const Exception& thrown) {
    EXPECT_EQ(thrown.message(), row.message);
    EXPECT_EQ(thrown.code(), row.code);
    EXPECT_EQ(thrown.file(), row.source);
    EXPECT_EQ(thrown.line(), row.line);
  }
}

TEST(NullHandle, AccessorsThrow) {
  for (const NullUse& row : nullUses()) expectThrows(row);
}

TEST(NullHandle, InheritedAccessorsThrowWhatTheBaseThrows) {
  for (const NullUse& row : inheritedNullUses()) expectThrows(row);
}

TEST(NullHandle, StaysNullWhenCopied) {
  EXPECT_TRUE(Policy(PolicyIPAddress()).isNull());
  EXPECT_TRUE(PolicyRecipient(PolicyRecipient()).isNull());
  EXPECT_TRUE(ProfileAntiSpam(ProfileAntiSpam()).isNull());
  EXPECT_TRUE(ProfileWebFilter(ProfileWebFilter()).isNull());
  EXPECT_TRUE(Action(Action()).isNull());
}

std::string table() {
  std::ostringstream out;
  out << "| class | accessor | message | code | source | line |\n|---|---|---|---|---|---|\n";
  for (const NullUse& row : nullUses()) {
    out << "| `" << row.owner << "` | " << row.accessor << " | " << row.message << " | " << row.code
        << " | " << row.source << " | " << (row.line == 0 ? "" : std::to_string(row.line))
        << " |\n";
  }
  return out.str();
}

// After a change of the rows: KESTRAV_UPDATE_GOLDEN=1 profile_values_tests
TEST(NullHandle, TableOfTheErrorsPageIsUpToDate) {
  expectGenerated(std::string(KESTRAV_DOCS) + "/errors.md", "tests/profile/NullUses.cc", table());
}

}  // namespace
