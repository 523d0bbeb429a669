// The implementation behind every policy. Filled by the class that chooses it, then only read.
#pragma once

#include <atomic>
#include <cstdint>

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

  // Whether the message has to be parsed, once known. Readers that find it out at the same time
  // store the same value.
  mutable std::atomic<std::int32_t> parsingState{kUnknown};
};

}  // namespace Kestrav
