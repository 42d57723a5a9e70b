#include "bench/soaking/troubles.h"

#include <array>

namespace soak {

namespace {

constexpr std::array<Trouble, kTroubleCount> kTroubles = {{
    {"reboot", Cause::Reboot, kGone},
    {"password changed", Cause::Password, kRefused},
    {"clock off", Cause::Clock, kRefused},
    {"connections dropped", Cause::Disconnect},
    {"object made anew", Cause::NewObject},
    {"reboot", Cause::Reboot, kGone},  // twice, so that it comes twice as often
    {"connection reset", Cause::Quirks, kGone, "http-reset-at-once"},
    {"answers late", Cause::Quirks, kFine, "http-delay=20"},
    {"clock off within its window", Cause::Quirks, kFine, "clock-offset=120"},
    {"tokens refused", Cause::Quirks, kRefused, "auth-token-refused"},
    {"tokens refused with status 401", Cause::Quirks, kRefused, "auth-token-refused\nauth-fault-status=401"},
    {"tokens refused without a body", Cause::Quirks, kRefused, "auth-token-refused\nauth-empty-refusal"},
    {"tokens refused, another word", Cause::Quirks, kRefused,
     "auth-token-refused\nauth-fault-subcode=wsse:FailedAuthentication"},
    {"every call a fault", Cause::Quirks, kFault, "auth-token-refused\nauth-fault-subcode=ter:OperationProhibited"},
    {"HTTP Digest wanted", Cause::Quirks, kFine, "digest-wanted=md5"},
    {"HTTP Digest and tokens wanted", Cause::Quirks, kFine, "digest-and-token=md5"},
    {"HTTP Digest, always stale", Cause::Quirks, kRefused, "digest-stale-always"},
    {"connection closed, no answer", Cause::Quirks, kGone, "http-close-at-once"},
    {"half an answer", Cause::Quirks, kGone, "http-close-early=300"},
    {"reset in the answer", Cause::Quirks, kGone, "http-reset=300"},
    {"chunks that are none", Cause::Quirks, kGone, "http-bad-chunks"},
    {"empty answers", Cause::Quirks, kGone, "xml-empty-answer"},
    {"cut XML", Cause::Quirks, kGone, "xml-truncated"},
    {"document types", Cause::Quirks, kGone, "xml-doctype"},
    {"deep documents", Cause::Quirks, kGone, "xml-deep=1000"},
    {"many attributes", Cause::Quirks, kGone, "xml-many-attributes=5000"},
    {"huge answers", Cause::Quirks, kGone, "xml-huge=5242880", true},
    {"a gzip bomb", Cause::Quirks, kGone, "http-gzip-bomb=20", true},
    {"no answers", Cause::Quirks, kGone, "http-no-answer", true, 1},
    {"gzip", Cause::Quirks, kFine, "http-gzip"},
    {"chunks", Cause::Quirks, kFine, "http-chunked"},
    {"a connection for each call", Cause::Quirks, kFine, "http-close"},
    {"connections close silently", Cause::Quirks, kFine, "http-silent-close"},
    {"connections close on the next call", Cause::Quirks, kFine, "http-close-on-next"},
    {"connections close when idle", Cause::Quirks, kFine, "http-idle-close=50"},
}};

}  // namespace

const Trouble& TroubleAt(std::size_t index) {
  return kTroubles.at(index);
}

}  // namespace soak
