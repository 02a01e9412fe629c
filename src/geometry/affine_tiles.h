// Samples the spans tile by tile: a row of a turned image runs through all of the source's rows, which
// would leave the cache before the next row needs them.
#ifndef UVEK_GEOMETRY_AFFINE_TILES_H
#define UVEK_GEOMETRY_AFFINE_TILES_H

#include "geometry/affine_sample.h"
#include "geometry/spans.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// Narrow, as rows of a large source fall on the same lines of the cache.
constexpr Vek32s kTileWidth = 32;
constexpr Vek32s kTileHeight = 64;

// rows.Start(column) is the state in which a row's positions begin at that column, for one row after
// the other from the table's first; rows.WalkOf(state, count) walks the next `count` positions of a row.
template <typename T, int channels, int code, class Rows>
void SampleTiles(const SourceImage& source, const SpanTable& table, Rows& rows, Vek8u* pDst, Vek32s dstStep)
{
    const int64_t count = (int64_t)table.lastRow - table.firstRow + 1;
    for (int64_t top = 0; top < count; top += kTileHeight) {
        const int height = (int)Min<int64_t>(kTileHeight, count - top);
        const Span* const spans = table.spans + top;
        typename Rows::State states[kTileHeight];
        int64_t first = (int64_t)1 << 32, last = -1;
        for (int j = 0; j < height; ++j) {
            states[j] = rows.Start(spans[j].first);
            if (spans[j].first <= spans[j].last) {
                first = Min<int64_t>(first, spans[j].first);
                last = Max<int64_t>(last, spans[j].last);
            }
        }
        for (int64_t left = first - first % kTileWidth; left <= last; left += kTileWidth)
            for (int j = 0; j < height; ++j) {
                const int64_t from = Max<int64_t>(left, spans[j].first), to = Min<int64_t>(left + kTileWidth - 1, spans[j].last);
                if (from > to)
                    continue;
                auto&& walk = rows.WalkOf(states[j], (Vek32s)(to - from + 1));
                Vek8u* const dst = Offset(pDst, (table.firstRow + top + j) * dstStep + from * channels * (int64_t)sizeof(T));
                SampleSpan<T, channels, code>(source, walk, dst, (Vek32s)(to - from + 1));
            }
    }
}

}  // namespace
}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
