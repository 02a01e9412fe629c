// The version record: how a caller learns which tier serves it.
#include "frame/tier.h"
#include "uvek/memory.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

#define VEK_TEXT(x) #x
#define VEK_TIER_CODE(x) VEK_TEXT(x)

constexpr VekLibVersion kVersion = {
    5, 3, 85, 497,
    VEK_TIER_CODE(VEK_TIER_NAMESPACE),
    "vekj" VEK_TIER_CODE(VEK_TIER_NAMESPACE) "l.lib",
    "5.3 Update 4 build 85.38",
    "Aug 13 2008",
};

}  // namespace

const VekLibVersion* vekjGetLibVersion(void) { return &kVersion; }

}  // namespace uvek::VEK_TIER_NAMESPACE
