/* Types, statuses and coded constants shared by all families. Needs C99 or C++11. */
#ifndef UVEK_BASE_H
#define UVEK_BASE_H

#include <stdint.h>

#ifdef __cplusplus
#define UVEK_BEGIN extern "C" {
#define UVEK_END }
#else
#define UVEK_BEGIN
#define UVEK_END
#endif

UVEK_BEGIN

/* Samples, lengths and steps: the bits, and whether unsigned, signed or floating point. */
typedef uint8_t Vek8u;
typedef int8_t Vek8s;
typedef uint16_t Vek16u;
typedef int16_t Vek16s;
typedef int32_t Vek32s;
typedef uint32_t Vek32u;
typedef float Vek32f;
typedef double Vek64f;

/* A complex number. */
typedef struct Vek32fc {
    Vek32f re; /* real part */
    Vek32f im; /* imaginary part */
} Vek32fc;

/* The result of a call: 0 success, negative an error (nothing was written, unless the function
   says otherwise), positive a warning (the call did what it could). */
typedef Vek32s VekStatus;

/* A region's size in pixels. */
typedef struct VekImageSize {
    Vek32s width;  /* columns */
    Vek32s height; /* rows */
} VekImageSize;

/* A rectangle in pixels, measured from an image's origin. */
typedef struct VekImageRect {
    Vek32s x;      /* first column */
    Vek32s y;      /* first row */
    Vek32s width;  /* columns */
    Vek32s height; /* rows */
} VekImageRect;

/* A position in pixels. */
typedef struct VekPoint {
    Vek32s x; /* column */
    Vek32s y; /* row */
} VekPoint;

/* Every status number of the library. */
enum {
    StatusOk = 0,
    StatusBadCoderState = -2,          /* the Huffman coder cannot proceed: coder buffer limit */
    StatusBadRange = -5,               /* a parameter lies outside its permitted range */
    StatusBadSize = -6,                /* a width, height, length or buffer size is below its minimum */
    StatusNullPointer = -8,            /* a required pointer, or an entry of a plane array, is null */
    StatusNoMemory = -9,               /* an internal allocation failed */
    StatusDivideByZero = -10,          /* a divisor or a matrix pivot is zero */
    StatusBadDataType = -12,           /* internal */
    StatusBadStep = -14,               /* a row step fails its family's check */
    StatusBadFftOrder = -15,           /* transform order outside 0 to 30 */
    StatusBadFftFlag = -16,            /* normalisation flag other than 1, 2, 4, 8 */
    StatusBadContext = -17,            /* a context record's identifier does not match */
    StatusBadMirrorAxis = -21,         /* mirror axis other than 0, 1, 2 */
    StatusBadInterpolation = -22,      /* interpolation code not accepted by this function */
    StatusBadResizeFactor = -23,       /* a resize factor is zero or negative */
    StatusBadFilterOrder = -25,        /* filter order below 1 */
    StatusBadShift = -32,              /* shift count below 0 */
    StatusBadMaskSize = -33,           /* mask size code not accepted, or a mask size below 1 */
    StatusBadAnchor = -34,             /* anchor outside the mask */
    StatusStepTooSmall = -37,          /* the step does not hold the region and its border columns */
    StatusBadAlphaType = -50,          /* alpha composition type unknown */
    StatusBadDivisor = -51,            /* a filter's divisor is zero */
    StatusBadChannelOfInterest = -52,  /* channel of interest outside 1 to 3 */
    StatusBadChannelCount = -53,       /* channel count not accepted */
    StatusBadCoefficients = -56,       /* a coefficient set is degenerate */
    StatusBadRectangle = -57,          /* a rectangle has no usable extent */
    StatusBadQuadrangle = -58,         /* a quadrangle is degenerate or not convex */
    StatusBadChannelOrder = -60,       /* an entry of a channel order is outside 0 to 2 */
    StatusBitstreamExhausted = -62,    /* the source ran out of bits, or the destination is full */
    StatusBitstreamEnd = -63,          /* a marker stopped the stream, or no code matches */
    StatusBadHuffmanTable = -64,       /* a Huffman table is over-full, or a value has no code */
    StatusBadHistogramLevels = -107,   /* fewer than 2 histogram levels */
    StatusBadAlignment = -108,         /* a step of a 16-bit image is not even */
    StatusBadMatrixStride = -182,      /* a matrix stride is below 1 or not a multiple of 8 bytes */
    StatusResizeTooSmall = -201,       /* the scaled result would have no pixels */
    StatusBadMatrixSize = -204,        /* a matrix has more rows than columns */
    StatusBadMode = -9999,             /* internal */
    WarnUnaligned = 2,                 /* done, but a buffer was not 16-byte aligned */
    WarnSqrtOfNegative = 3,            /* done, a negative element gave a NaN */
    WarnDivideByZero = 6,              /* a divisor of zero was replaced; other entries are valid */
    WarnNotReferenceProcessor = 20,    /* internal */
    WarnUnknownProcessorClass = 21,    /* internal */
    WarnEmptyIntersection = 29,        /* nothing to do: the regions do not overlap */
    WarnNoRotationOverlap = 30,        /* nothing to do: the rotated source misses the destination */
    WarnOddSize = 35,                  /* an odd width or height was rounded down to even */
    WarnCacheQueryUnavailable = 36,    /* internal */
    WarnCacheDescriptorUnknown = 37,   /* internal */
    WarnAsymmetricKernel = 38          /* a pyramid kernel is not symmetric; its left half was used */
};

/* Rounding modes of conversions from floating point; any other code rounds ties away from zero. */
enum { RoundZero = 0, RoundNear = 1, RoundHalfAway = 2 };

/* Interpolation codes. Each function accepts a subset of its own. SmoothEdgeFlag is added to the
   code in the rotation and warp functions. */
enum { InterNearest = 1, InterLinear = 2, InterCubic = 4, InterSuper = 8, InterLanczos = 16 };
#define SmoothEdgeFlag ((Vek32s)(-2147483647 - 1))

/* Mask size codes. */
enum { MaskSize3x3 = 33, MaskSize5x5 = 55 };

/* Mirror axes: rows exchange top to bottom, columns exchange left to right, both. */
enum { AxisHorizontal = 0, AxisVertical = 1, AxisBoth = 2 };

UVEK_END

#endif
