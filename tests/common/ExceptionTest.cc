#include "platform/common/Exception.h"

#include <gtest/gtest.h>

#include <string>

namespace Kestrav {
namespace {

TEST(Exception, HasNoSourceUnlessOneIsGiven) {
  const Exception e("headerTag", Exception::kNullHandle);
  EXPECT_EQ(e.message(), "headerTag");
  EXPECT_EQ(e.code(), 1);
  EXPECT_EQ(e.file(), "");
  EXPECT_EQ(e.line(), 0);
  EXPECT_EQ(e.stringParameter(), "");
  EXPECT_EQ(e.cause(), nullptr);
  EXPECT_EQ(e.asString(), "headerTag (code 1)");
}

TEST(Exception, ANullSourceIsNone) {
  EXPECT_EQ(Exception("x", 4, nullptr, 0).file(), "");
}

TEST(Exception, TextNamesEverythingThatIsKnown) {
  Exception e("Profile", 1, "Profile", 39);
  EXPECT_EQ(e.asString(), "Profile (code 1, Profile:39)");
  e.stringParameter("strict");
  EXPECT_EQ(e.asString(), "Profile \"strict\" (code 1, Profile:39)");
  e.cause(Exception("inner", 2));
  EXPECT_EQ(e.asString(), "Profile \"strict\" (code 1, Profile:39); caused by: inner (code 2)");
  EXPECT_EQ(e.what(), e.asString());
}

TEST(Exception, CauseIsACopyThatKeepsItsOwnCause) {
  Exception outer("outer", 3);
  {
    Exception middle("middle", 2);
    middle.cause(Exception("inner", 1));
    outer.cause(middle);
  }
  ASSERT_NE(outer.cause(), nullptr);
  EXPECT_EQ(outer.cause()->message(), "middle");
  ASSERT_NE(outer.cause()->cause(), nullptr);
  EXPECT_EQ(outer.cause()->cause()->message(), "inner");
}

TEST(Exception, IsThrownByValueWithItsDetail) {
  try {
    throw Exception("not found", 7).stringParameter("gone");
  } catch (const Exception& e) {
    EXPECT_EQ(e.message(), "not found");
    EXPECT_EQ(e.code(), 7);
    EXPECT_EQ(e.stringParameter(), "gone");
  }
}

TEST(Exception, IsAStandardException) {
  try {
    throw Exception("message", 9);
  } catch (const std::exception& e) {
    EXPECT_STREQ(e.what(), "message (code 9)");
  }
}

TEST(Exception, AssignmentCopiesEverything) {
  Exception from("from", 1, "File", 2);
  from.stringParameter("p").cause(Exception("why", 3));
  Exception to("to", 9);
  to = from;
  EXPECT_EQ(to.asString(), from.asString());
  EXPECT_EQ(to.file(), "File");
  EXPECT_EQ(to.line(), 2);
}

}  // namespace
}  // namespace Kestrav
