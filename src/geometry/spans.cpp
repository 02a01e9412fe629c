// Cuts a convex quadrangle to the destination rectangle (Sutherland and Hodgman, 1974) and finds the
// columns that each row has inside it.
#include "geometry/spans.h"

#include <math.h>

#include "frame/memory.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// An end this close to a whole number has that column: rounding must not cost a rectangle its edge.
constexpr Vek64f kEndTolerance = 1e-14;

struct Bounds {
    Vek64f xMin, xMax, yMin, yMax;
};

// Columns and rows are 32-bit numbers whatever the rectangle promises.
Bounds BoundsOf(VekImageRect r)
{
    const int64_t last = 0x7fffffff;
    return {(Vek64f)r.x, (Vek64f)Min<int64_t>((int64_t)r.x + r.width - 1, last), (Vek64f)r.y, (Vek64f)Min<int64_t>((int64_t)r.y + r.height - 1, last)};
}

Bounds BoundsOf(const Polygon& p)
{
    Bounds b = {p.at[0].x, p.at[0].x, p.at[0].y, p.at[0].y};
    for (int i = 1; i < p.count; ++i) {
        b.xMin = Min(b.xMin, p.at[i].x);
        b.xMax = Max(b.xMax, p.at[i].x);
        b.yMin = Min(b.yMin, p.at[i].y);
        b.yMax = Max(b.yMax, p.at[i].y);
    }
    return b;
}

// Keeps what is on one side of a line x = at or y = at.
template <Vek64f Vertex::*across, Vek64f Vertex::*along, bool above>
void CutSide(Polygon& p, Vek64f at)
{
    Polygon kept = {};
    for (int i = 0; i < p.count; ++i) {
        const Vertex& a = p.at[i];
        const Vertex& b = p.at[i + 1 == p.count ? 0 : i + 1];
        const bool aInside = above ? a.*across >= at : a.*across <= at;
        const bool bInside = above ? b.*across >= at : b.*across <= at;
        if (aInside && kept.count < 8)
            kept.at[kept.count++] = a;
        if (aInside != bInside && kept.count < 8) {
            Vertex& v = kept.at[kept.count++];
            v.*across = at;
            v.*along = a.*along + (at - a.*across) * (b.*along - a.*along) / (b.*across - a.*across);
        }
    }
    p = kept;
}

bool IsSame(const Vertex& a, const Vertex& b)
{
    return a.x == b.x && a.y == b.y;
}

// Of a polygon that touches the rectangle in a point, that point stays.
void DropRepeatedVertices(Polygon& p)
{
    Polygon kept = {};
    for (int i = 0; i < p.count; ++i)
        if (kept.count == 0 || !IsSame(p.at[i], kept.at[kept.count - 1]))
            kept.at[kept.count++] = p.at[i];
    while (kept.count > 1 && IsSame(kept.at[0], kept.at[kept.count - 1]))
        --kept.count;
    p = kept;
}

void Cut(Polygon& p, const Bounds& to)
{
    const Bounds b = BoundsOf(p);
    if (b.xMax < to.xMin || b.xMin > to.xMax || b.yMax < to.yMin || b.yMin > to.yMax) {
        p.count = 0;
        return;
    }
    if (b.xMin >= to.xMin && b.xMax <= to.xMax && b.yMin >= to.yMin && b.yMax <= to.yMax)
        return;
    CutSide<&Vertex::x, &Vertex::y, true>(p, to.xMin);
    CutSide<&Vertex::x, &Vertex::y, false>(p, to.xMax);
    CutSide<&Vertex::y, &Vertex::x, true>(p, to.yMin);
    CutSide<&Vertex::y, &Vertex::x, false>(p, to.yMax);
    DropRepeatedVertices(p);
}

// One of the two ways down from the uppermost vertex.
class Chain {
public:
    Chain(const Polygon& p, int top, int direction) : p_(p), upper_(top), lower_(top), direction_(direction) { NextEdge(); }

    // The edge's x on row y, which never decreases from call to call. A vertex on the row belongs to
    // the edge below it, where there is one, so that it counts as it is.
    Vek64f At(Vek64f y)
    {
        while (y >= p_.at[lower_].y && NextEdge()) {
        }
        return p_.at[upper_].x + (y - p_.at[upper_].y) * slope_;
    }

private:
    // The next edge that leads down, past horizontal ones; false at the lower end of the way.
    bool NextEdge()
    {
        for (int from = lower_; steps_ < p_.count; ++steps_) {
            const int next = from + direction_, to = next == p_.count ? 0 : next < 0 ? p_.count - 1 : next;
            if (p_.at[to].y < p_.at[from].y)
                break;
            if (p_.at[to].y > p_.at[from].y) {
                ++steps_;
                upper_ = from;
                lower_ = to;
                slope_ = (p_.at[to].x - p_.at[from].x) / (p_.at[to].y - p_.at[from].y);
                return true;
            }
            from = to;
        }
        steps_ = p_.count;
        return false;
    }

    const Polygon& p_;
    int upper_, lower_;  // the edge's ends
    int direction_;      // 1 or -1 from vertex to vertex
    int steps_ = 0;
    Vek64f slope_ = 0;
};

// Rounding on nearly horizontal edges must not lead outside; a NaN has no columns.
Vek32s LeftEnd(Vek64f x, const Bounds& limits)
{
    const Vek64f up = ceil(x);
    return (Vek32s)Clamp(x + 1 - up < kEndTolerance ? up - 1 : up, limits.xMin, limits.xMax);
}

Vek32s RightEnd(Vek64f x, const Bounds& limits)
{
    const Vek64f down = floor(x), end = 1 - x + down < kEndTolerance ? down + 1 : down;
    return (Vek32s)(end >= limits.xMin ? Min(end, limits.xMax) : limits.xMin - 1);
}

}  // namespace

int Winding(const Quadrangle& quadrangle)
{
    const Vertex* p = quadrangle.at;
    const Vek64f z[4] = {
        (p[3].x - p[2].x) * (p[0].y - p[3].y) - (p[0].x - p[3].x) * (p[3].y - p[2].y),
        (p[0].x - p[3].x) * (p[1].y - p[0].y) - (p[0].y - p[3].y) * (p[1].x - p[0].x),
        (p[1].x - p[0].x) * (p[2].y - p[1].y) - (p[1].y - p[0].y) * (p[2].x - p[1].x),
        (p[2].x - p[1].x) * (p[3].y - p[2].y) - (p[3].x - p[2].x) * (p[2].y - p[1].y),
    };
    int zero = 0, positive = 0, negative = 0;
    for (const Vek64f turn : z) {
        zero += turn == 0;
        positive += turn > 0;
        negative += turn < 0;
    }
    return zero ? kDegenerate : positive == 4 ? 1 : negative == 4 ? 0 : kNotConvex;  // NaN is not convex
}

bool MakeSpans(const Quadrangle& quadrangle, bool clockwise, VekImageRect dstRoi, SpanTable* pTable)
{
    const Bounds limits = BoundsOf(dstRoi);
    Polygon& p = pTable->polygon;
    p.count = 4;
    memcpy(p.at, quadrangle.at, sizeof quadrangle.at);
    Cut(p, limits);
    if (p.count == 0)
        return false;
    for (int i = 0; i < p.count; ++i)
        if (p.at[i].x - p.at[i].x != 0 || p.at[i].y - p.at[i].y != 0)
            return false;  // corners so far off that the cut overflowed
    const Bounds b = BoundsOf(p);
    const Vek64f firstRow = ceil(b.yMin), lastRow = floor(b.yMax);
    if (!(firstRow <= lastRow && ceil(b.xMin) <= floor(b.xMax)))
        return false;
    pTable->firstRow = (Vek32s)firstRow;
    pTable->lastRow = (Vek32s)lastRow;
    const int64_t rows = (int64_t)pTable->lastRow - pTable->firstRow + 1;
    pTable->spans = (Span*)AllocateBlock((rows + 1) * (int64_t)sizeof(Span));
    if (!pTable->spans)
        return false;

    if (b.yMin == b.yMax) {  // only an edge is met, and a chain has no way down
        pTable->spans[0] = {LeftEnd(b.xMin, limits), RightEnd(b.xMax, limits)};
        return true;
    }
    int top = 0;
    for (int i = 1; i < p.count; ++i)
        if (p.at[i].y < p.at[top].y)
            top = i;
    Chain left(p, top, clockwise ? -1 : 1), right(p, top, clockwise ? 1 : -1);
    for (int64_t i = 0; i < rows; ++i) {
        const Vek64f y = firstRow + (Vek64f)i;
        pTable->spans[i] = {LeftEnd(left.At(y), limits), RightEnd(right.At(y), limits)};
    }
    return true;
}

void ReleaseSpans(SpanTable* pTable)
{
    ReleaseBlock(pTable->spans);
}

}  // namespace uvek::VEK_TIER_NAMESPACE
