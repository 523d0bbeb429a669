#include "tests/profile/Factory.h"

#include "tests/profile/Gateway.h"
#include "tests/support/QuarantineRecords.h"
#include "tests/support/SystemRecords.h"

namespace Kestrav::Testing {
namespace {

Start make() {
  Start made;
  made.folderIdsBefore = {ProfileFactory::spam_folderId, ProfileFactory::virus_folderId,
                          ProfileFactory::content_folderId, ProfileFactory::dlp_folderId};
  made.virusFolder = freshId();
  made.contentFolder = freshId();
  made.dlpFolder = freshId();
  put(QuarantineFolderRecord(freshId(), "bulk"), QuarantineFolderRecord(made.virusFolder, "Virus"),
      QuarantineFolderRecord(made.dlpFolder, "Dlp"),
      QuarantineFolderRecord(made.contentFolder, "Content"),
      MailServerRecord().deferredPeriod(0, 0, 24, 0));
  made.factory = ProfileFactory::instance();
  made.deferredAtStart = made.factory->deferredPeriod() != 0;
  return made;
}

}  // namespace

const Start& start() {
  static const Start made = make();
  return made;
}

}  // namespace Kestrav::Testing
