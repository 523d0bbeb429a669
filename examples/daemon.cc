// What a daemon writes to ask for a decision.
//
//   daemon STORE CLIENT SERVER SENDER RECIPIENT
#include <cstdio>
#include <exception>

#include <kestrav/PolicyIPAddress.h>
#include <kestrav/PolicyRecipient.h>
#include <kestrav/ProfileFactory.h>
#include <kestrav/platform/config/store/ConfigStore.h>

using namespace Kestrav;

int main(int argc, char** argv) try {
  if (argc != 6)
    return std::fprintf(stderr, "usage: %s STORE CLIENT SERVER SENDER RECIPIENT\n", argv[0]), 2;

  // Once, before there are other threads.
  Config::ConfigStore::attach(Config::ConfigStore::open(argv[1]));
  ProfileFactory::instance();

  // Per connection; the addresses come from the socket.
  const PolicyIPAddress connection{IPAddress(argv[2]), IPAddress(argv[3])};

  // Per recipient. An exclusive IP policy leaves no room for recipient policies.
  const EmailAddress sender = EmailAddress::rfc5321Parse(argv[4], true);
  const EmailAddress recipient = EmailAddress::rfc5321Parse(argv[5], false);
  const PolicyRecipient policy = !connection.isNull() && connection.exclusive()
                                     ? PolicyRecipient(sender, recipient, connection)
                                     : PolicyRecipient(sender, recipient, false, false);
  if (policy.isNull()) return std::puts("no policy"), 1;

  std::printf("%s, policy %d\n",
              policy.direction() == PolicyRecipient::kIncoming ? "incoming" : "outgoing",
              policy.id());
  const ProfileAntiSpam& antispam = policy.antispamProfile();
  if (antispam.isNull()) return std::puts("no antispam profile"), 0;
  std::printf("antispam profile \"%s\"\n", antispam.name().c_str());
  if (antispam.rbl()) {
    std::printf("when a block list names the client, %zu actions:\n",
                antispam.individualAction(CLASSIFIER_RBL).actions().size());
    for (const Action& action : antispam.individualAction(CLASSIFIER_RBL).actions()) {
      std::printf("  action 0x%x\n", action.type());
    }
  }
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 2;
}
