// The implementation of every policy. The class that chooses it fills it; from then on it is only
// read.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "Policy.h"
#include "VexaRefcounted.h"

namespace Kestrav {

class PolicyImpl : public NonCopyable, public virtual RefImpl {
 public:
  // Values of parsingState.
  static constexpr std::int32_t kUnknown = 0;
  static constexpr std::int32_t kNotRequired = 1;
  static constexpr std::int32_t kRequired = 2;

  ~PolicyImpl() override;

  std::int32_t id = 0;
  ngid_t ngid = 0;
  ProfileAntiSpam antispam;
  ProfileAntiVirus antivirus;
  ProfileContent content;
  ProfileDLP dlp;
  ProfSessionReceive receive;
  ProfSessionDelivery delivery;
  AuthenticationAndAccess access;

  // Whether the message must be parsed, once known. Concurrent readers store the same value.
  mutable std::atomic<std::int32_t> parsingState{kUnknown};

  std::string name;
};

}  // namespace Kestrav
