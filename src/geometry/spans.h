// A source rectangle's image in the destination, as the columns that each row has inside it.
#ifndef UVEK_GEOMETRY_SPANS_H
#define UVEK_GEOMETRY_SPANS_H

#include "frame/tier.h"

namespace uvek::VEK_TIER_NAMESPACE {

struct Vertex {
    Vek64f x, y;
};

// The images of a region's corners (x0, y0), (x1, y0), (x1, y1), (x0, y1).
struct Quadrangle {
    Vertex at[4];
};

// A quadrangle cut by a rectangle: each side adds a vertex at the most.
struct Polygon {
    int count;
    Vertex at[8];
};

constexpr int kNotConvex = -4;
constexpr int kDegenerate = -5;

// 1 and 0: the four turns are all positive, all negative.
int Winding(const Quadrangle& quadrangle);

struct Span {
    Vek32s first, last;  // destination columns; none when first > last
};

struct SpanTable {
    Polygon polygon;
    Vek32s firstRow, lastRow;
    Span* spans;  // of firstRow and those below
};

// False when no row of dstRoi is met, or memory is short. `clockwise`: the quadrangle runs clockwise on
// a screen whose y points downward. Spans never leave dstRoi.
bool MakeSpans(const Quadrangle& quadrangle, bool clockwise, VekImageRect dstRoi, SpanTable* pTable);
void ReleaseSpans(SpanTable* pTable);

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
