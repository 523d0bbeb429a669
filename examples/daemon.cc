// How a daemon asks for a decision: attach the store once, choose a policy for each connection and
// each recipient, read the profiles of the policy.
//
//   daemon STORE CLIENT SERVER SENDER RECIPIENT
#include <cstdio>
#include <exception>

#include <kestrav/PolicyIPAddress.h>
#include <kestrav/PolicyRecipient.h>
#include <kestrav/ProfileFactory.h>
#include <kestrav/platform/config/store/ConfigStore.h>

namespace {

using namespace Kestrav;

// When the connection's policy is exclusive, it decides for every recipient.
PolicyRecipient choosePolicy(const PolicyIPAddress& connection, const EmailAddress& sender,
                             const EmailAddress& recipient) {
  if (!connection.isNull() && connection.exclusive()) {
    return PolicyRecipient(sender, recipient, connection);
  }
  return PolicyRecipient(sender, recipient, /*noPolicy=*/false, /*lookupDirection=*/false);
}

void printAntispam(const ProfileAntiSpam& antispam) {
  if (antispam.isNull()) {
    std::puts("no antispam profile");
    return;
  }
  std::printf("antispam profile \"%s\"\n", antispam.name().c_str());
  if (!antispam.rbl()) return;
  const ActionContainer& container = antispam.individualAction(CLASSIFIER_RBL);
  std::printf("when a block list names the client, %zu actions:\n", container.actions().size());
  for (const Action& action : container.actions()) {
    std::printf("  action 0x%x\n", action.type());
  }
}

int decide(char** argv) {
  // Once per process, before other threads start.
  Config::ConfigStore::Options options;
  options.create = false;  // a wrong path is an error, not an empty store
  Config::ConfigStore::attach(Config::ConfigStore::open(argv[1], options));
  ProfileFactory::instance();

  // Once per connection. A daemon takes the addresses from the socket.
  const IPAddress client(argv[2]);
  const IPAddress server(argv[3]);
  const PolicyIPAddress connection(client, server);

  // Once per recipient.
  const EmailAddress sender = EmailAddress::rfc5321Parse(argv[4], true);
  const EmailAddress recipient = EmailAddress::rfc5321Parse(argv[5], false);
  const PolicyRecipient policy = choosePolicy(connection, sender, recipient);
  if (policy.isNull()) {
    std::puts("no policy");
    return 1;
  }
  const bool incoming = policy.direction() == PolicyRecipient::kIncoming;
  std::printf("%s, policy %d\n", incoming ? "incoming" : "outgoing", policy.id());
  printAntispam(policy.antispamProfile());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 6) {
    std::fprintf(stderr, "usage: %s STORE CLIENT SERVER SENDER RECIPIENT\n", argv[0]);
    return 2;
  }
  try {
    return decide(argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 2;
  }
}
