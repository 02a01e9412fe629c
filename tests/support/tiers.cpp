#include "support/tiers.h"

#include "frame/frame.h"

namespace uvek::test {
namespace {

void SetTier(int tier)
{
    vekTierIndex = tier;
    FillSlots(vekSlotRecords, vekSlotRecordCount, vekSlotWaterfall[tier]);
}

}  // namespace

ScopedTier::ScopedTier(int tier) : before_(vekTierIndex) { SetTier(tier); }

ScopedTier::~ScopedTier() { SetTier(before_); }

}  // namespace uvek::test
