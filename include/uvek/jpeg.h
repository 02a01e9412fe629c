/* The pieces of a JPEG codec. */
#ifndef UVEK_JPEG_H
#define UVEK_JPEG_H

#include "uvek/base.h"

UVEK_BEGIN

/* ---- Colour, sampling, DCT ---- */

/* Full-range YCbCr of JFIF, with chroma centred on 128. Steps are bytes between rows, at least 1, one
   for all planes of an array; planes stand in the order Y, Cb, Cr and then K, interleaved inks in the
   order C, M, Y, K. roiSize: pixels, each at least 1. Source and destination must not overlap.

   Tier 0 works with a 16-bit fraction, tiers 1 to 3 (which agree) with a 15-bit or a 14-bit one,
   depending on the column: results differ by at most one between tier 0 and the others.

   All return StatusNullPointer (pSrc or pDst, then the planes in order), StatusBadStep (either step),
   StatusBadSize, StatusOk. */

/* Luma of three-channel pixels; Y = 0.299 R + 0.587 G + 0.114 B. Tiers 1 to 3: 15-bit fraction. */
VekStatus vekiRGBToY_JPEG_8u_C3C1R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize);
VekStatus vekiBGRToY_JPEG_8u_C3C1R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize);

/* Three-channel pixels to three planes; Cb = 128 + 0.564 (B - Y), Cr = 128 + 0.713 (R - Y). Tiers 1 to 3:
   15-bit fraction in whole groups of 8 columns, 14-bit in the columns left over. */
VekStatus vekiRGBToYCbCr_JPEG_8u_C3P3R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* const pDst[3], Vek32s dstStep, VekImageSize roiSize);
VekStatus vekiBGRToYCbCr_JPEG_8u_C3P3R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* const pDst[3], Vek32s dstStep, VekImageSize roiSize);

/* Three planes to three-channel pixels, clamped. Tiers 1 to 3: 14-bit fraction in whole groups of 4
   columns, tier 0's arithmetic in the columns left over. */
VekStatus vekiYCbCrToRGB_JPEG_8u_P3C3R(const Vek8u* const pSrc[3], Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize);
VekStatus vekiYCbCrToBGR_JPEG_8u_P3C3R(const Vek8u* const pSrc[3], Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize);

/* Inks to four planes: 255 - C, 255 - M, 255 - Y as R, G, B converted to Y, Cb, Cr; K copied. Tiers 1
   to 3: 14-bit fraction. */
VekStatus vekiCMYKToYCCK_JPEG_8u_C4P4R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* const pDst[4], Vek32s dstStep, VekImageSize roiSize);

/* Four planes to inks, the way back of vekiCMYKToYCCK_JPEG_8u_C4P4R. Tiers 1 to 3 as in
   vekiYCbCrToRGB_JPEG_8u_P3C3R, but for other rounding terms in green and blue. */
VekStatus vekiYCCKToCMYK_JPEG_8u_P4C4R(const Vek8u* const pSrc[4], Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize);

/* Halves a plane's width, or width and height, by averages of 2 samples (rounded half up) or of 4 (their
   sum, plus 3, over 4). The work follows from dstRoiSize alone: 2 dstRoiSize.width columns are read of as
   many rows (H2V1) or twice as many (H2V2); srcRoiSize is only tested. Steps: bytes, at least 1. Sizes:
   pixels, each at least 1. Source and destination must not overlap. All tiers agree.
   Return StatusNullPointer (pSrc), StatusBadStep (srcStep), StatusBadSize (srcRoiSize),
   StatusNullPointer (pDst), StatusBadStep (dstStep), StatusBadSize (dstRoiSize), StatusOk. */
VekStatus vekiSampleDownH2V1_JPEG_8u_C1R(const Vek8u* pSrc, Vek32s srcStep, VekImageSize srcRoiSize, Vek8u* pDst, Vek32s dstStep, VekImageSize dstRoiSize);
VekStatus vekiSampleDownH2V2_JPEG_8u_C1R(const Vek8u* pSrc, Vek32s srcStep, VekImageSize srcRoiSize, Vek8u* pDst, Vek32s dstStep, VekImageSize dstRoiSize);

/* Doubles the width of a row with a triangle filter: an output takes 3/4 of the nearer sample and 1/4 of
   the farther one, and the two at the ends copy theirs. srcWidth: samples in the row, at least 1;
   2 srcWidth bytes are written. Source and destination must not overlap. All tiers agree. A width of 1
   gives the one sample twice. Returns StatusNullPointer, StatusBadSize, StatusOk. */
VekStatus vekiSampleUpRowH2V1_Triangle_JPEG_8u_C1(const Vek8u* pSrc, Vek32s srcWidth, Vek8u* pDst);

/* One output row of a plane doubled in both directions: the same filter on 3/4 of pSrc1, the row nearer
   to the output row, and 1/4 of pSrc2, the row on its other side. A caller repeats the outer row at the
   top and bottom of a plane. srcWidth: samples in a row, at least 1; 2 srcWidth bytes are written. Sources
   and destination must not overlap. All tiers agree. Returns StatusNullPointer, StatusBadSize, StatusOk. */
VekStatus vekiSampleUpRowH2V2_Triangle_JPEG_8u_C1(const Vek8u* pSrc1, const Vek8u* pSrc2, Vek32s srcWidth, Vek8u* pDst);

/* Scales the 64 entries of a quantisation table, in any order, in place, for a quality: 50 keeps them,
   1 makes them 50 times as coarse, 100 and more make them 1. Entries stay within 1 to 255. All tiers agree.
   qualityFactor: at least 1. Returns StatusNullPointer, StatusBadRange (qualityFactor), StatusOk. */
VekStatus vekiQuantFwdRawTableInit_JPEG_8u(Vek8u* pQuantRawTable, Vek32s qualityFactor);

/* Makes the encoder's table, 64 reciprocals round(32768 / step) in row-major order, of the 64 steps of
   pQuantRawTable, which stand in the zigzag order of a DQT segment. A step of 0 gives 65535. All tiers agree.
   Returns StatusNullPointer, WarnDivideByZero (some step is 0; the table is complete), StatusOk. */
VekStatus vekiQuantFwdTableInit_JPEG_8u16u(const Vek8u* pQuantRawTable, Vek16u* pQuantFwdTable);

/* Makes the decoder's table, the 64 steps in row-major order, of the same steps in zigzag order.
   All tiers agree. Returns StatusNullPointer, StatusOk. */
VekStatus vekiQuantInvTableInit_JPEG_8u16u(const Vek8u* pQuantRawTable, Vek16u* pQuantInvTable);

/* Samples to quantised coefficients: subtracts 128, takes the orthonormal 8x8 DCT and multiplies by
   pQuantFwdTable (of vekiQuantFwdTableInit_JPEG_8u16u), rounding ties to even and saturating. pSrc: 8 rows
   of 8 samples, srcStep bytes apart, at least 1. pDst: 64 coefficients in row-major order, contiguous;
   it must not overlap the samples. No alignment is asked for; 16 bytes is fastest. Tier 0 has a 32-bit
   transform and tiers 1 to 3 (which agree) a 16-bit one: coefficients differ within the error of either.
   Returns StatusNullPointer (pSrc, pDst), StatusBadStep, StatusNullPointer (pQuantFwdTable), StatusOk. */
VekStatus vekiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(const Vek8u* pSrc, Vek32s srcStep, Vek16s* pDst, const Vek16u* pQuantFwdTable);

/* Quantised coefficients to samples: multiplies by pQuantInvTable (of vekiQuantInvTableInit_JPEG_8u16u),
   saturating, takes the inverse of that DCT, adds 128 and clamps. pSrc: 64 coefficients in row-major
   order, contiguous, not changed. pDst: 8 rows of 8 samples, dstStep bytes apart, at least 1. Alignment
   and tiers as in vekiDCTQuantFwd8x8LS_JPEG_8u16s_C1R.
   Returns StatusNullPointer (pSrc, pDst), StatusBadStep, StatusNullPointer (pQuantInvTable), StatusOk. */
VekStatus vekiDCTQuantInv8x8LS_JPEG_16s8u_C1R(const Vek16s* pSrc, Vek8u* pDst, Vek32s dstStep, const Vek16u* pQuantInvTable);

/* ---- Huffman coding ---- */

/* Records that the caller owns. Their sizes come from the ...GetBufSize functions; they need the
   alignment of malloc, hold no pointers, and may be copied byte by byte. A Spec is a table, read-only
   once built and fit to be shared by threads; a State serves one stream. */
typedef struct DecodeHuffmanSpec DecodeHuffmanSpec;
typedef struct DecodeHuffmanState DecodeHuffmanState;
typedef struct EncodeHuffmanSpec EncodeHuffmanSpec;
typedef struct EncodeHuffmanState EncodeHuffmanState;

/* Set *pSize to the record's size in bytes: 1644, 24, 1024 and 1048. StatusNullPointer, StatusOk. */
VekStatus vekiDecodeHuffmanSpecGetBufSize_JPEG_8u(Vek32s* pSize);
VekStatus vekiDecodeHuffmanStateGetBufSize_JPEG_8u(Vek32s* pSize);
VekStatus vekiEncodeHuffmanSpecGetBufSize_JPEG_8u(Vek32s* pSize);
VekStatus vekiEncodeHuffmanStateGetBufSize_JPEG_8u(Vek32s* pSize);

/* Build a table from the two lists of a DHT segment, with the codes of ISO/IEC 10918-1 Annex C.
   pListBits: 16 counts, element i that of codes of length i + 1. pListVals: the symbols in order of
   their codes, as many as the counts add up to, at most 256; a list without codes is fine.
   StatusNullPointer; StatusBadHuffmanTable for more than 256 codes, for codes of up to 8 bits that
   overflow their length by more than one (decoder) or for a length whose codes reach all ones (encoder); StatusOk.
   After StatusBadHuffmanTable the record is partly filled and must not be used. */
VekStatus vekiDecodeHuffmanSpecInit_JPEG_8u(const Vek8u* pListBits, const Vek8u* pListVals, DecodeHuffmanSpec* pDecHuffSpec);
VekStatus vekiEncodeHuffmanSpecInit_JPEG_8u(const Vek8u* pListBits, const Vek8u* pListVals, EncodeHuffmanSpec* pEncHuffSpec);

/* Clear a state: at the start of a scan and, in the decoder, after each restart marker.
   StatusNullPointer, StatusOk. */
VekStatus vekiDecodeHuffmanStateInit_JPEG_8u(DecodeHuffmanState* pDecHuffState);
VekStatus vekiEncodeHuffmanStateInit_JPEG_8u(EncodeHuffmanState* pEncHuffState);

/* Makes the two lists from how often each symbol occurs, by ISO/IEC 10918-1 Annex K.2: the shortest
   code of at most 16 bits in which no symbol is all ones. pStatistics: 257 counters indexed by symbol,
   at most 1000000000 each (a larger one is left out); the last is reserved and its value has no effect.
   pListBits: 16 bytes, pListVals: 256 bytes, of which as many are set as there are symbols.
   StatusNullPointer; StatusBadHuffmanTable when a code grows beyond 32 bits; StatusOk. */
VekStatus vekiEncodeHuffmanRawTableInit_JPEG_8u(const Vek32s* pStatistics, Vek8u* pListBits, Vek8u* pListVals);

/* What the decoding functions have in common. Coefficients stand in natural order, 64 of a block.
     pSrc, srcLenBytes  the entropy-coded data and how many bytes may be read
     pSrcCurrPos        in and out: position of the next byte; some bits may be held in the state
     pMarker            in and out: 0, or the marker that ended the data. When one is met its second
                        byte is stored here and the position is just after it; once set, nothing more
                        is read. The caller sets it to 0 at the start of a scan and after each restart
     pLastDC            in and out: the DC prediction; the caller sets it to 0 likewise
   Data may end exactly with the last bit needed. Beyond it
     StatusBitstreamExhausted  the data ran out, or ends in 0xff
     StatusBitstreamEnd        a marker came too early, or no code matches
   A block that fails cannot be resumed: the bits are gone, coefficients found so far stay. */

/* Decodes a baseline block: pDst is cleared and set. The number of zigzag positions that the block
   filled is kept in the state. In order: StatusNullPointer (pSrc), StatusBadRange (srcLenBytes below
   0), StatusNullPointer (any other), then the statuses above, or StatusBadCoderState when a run leads
   more than 8 positions past the block (up to 8 it sets coefficient 63); StatusOk. */
VekStatus vekiDecodeHuffman8x8_JPEG_1u16s_C1(const Vek8u* pSrc, Vek32s srcLenBytes, Vek32s* pSrcCurrPos, Vek16s* pDst,
                                             Vek16s* pLastDC, Vek32s* pMarker, const DecodeHuffmanSpec* pDcTable,
                                             const DecodeHuffmanSpec* pAcTable, DecodeHuffmanState* pDecHuffState);

/* Decodes one difference of a lossless scan; symbols of 16 and above stand for -32768 and have no
   further bits. StatusNullPointer (pSrc), StatusBadSize (srcLenBytes below 1), StatusNullPointer (any
   other), then the statuses above; StatusOk. */
VekStatus vekiDecodeHuffmanOne_JPEG_1u16s_C1(const Vek8u* pSrc, Vek32s srcLenBytes, Vek32s* pSrcCurrPos, Vek16s* pDst,
                                             Vek32s* pMarker, const DecodeHuffmanSpec* pDecHuffTable,
                                             DecodeHuffmanState* pDecHuffState);

/* What the encoding functions have in common.
     pDst, dstLenBytes  the buffer for entropy-coded data, 0xff bytes stuffed, and its length
     pDstCurrPos        in and out: position of the next byte; up to 7 bits are held in the state
     bFlushState        not 0, at the end of a scan or restart interval: no block is coded and pSrc,
                        pLastDC and the tables may be null. What is pending is written, a partial byte
                        is padded with ones, and the state is cleared, even after a failure
   In order: StatusNullPointer (pDst), StatusBadSize (dstLenBytes below 1), StatusNullPointer
   (pDstCurrPos, state), then the flush; StatusNullPointer (any other), and while coding
     StatusBitstreamExhausted  the buffer is full. Bytes and position stay as they are, the state keeps
                               the bits of what failed out: restore copies of all three to go on
     StatusBadHuffmanTable     a value has no code in the table */

/* Encodes a baseline block, or flushes. */
VekStatus vekiEncodeHuffman8x8_JPEG_16s1u_C1(const Vek16s* pSrc, Vek8u* pDst, Vek32s dstLenBytes, Vek32s* pDstCurrPos,
                                             Vek16s* pLastDC, const EncodeHuffmanSpec* pDcTable,
                                             const EncodeHuffmanSpec* pAcTable, EncodeHuffmanState* pEncHuffState,
                                             Vek32s bFlushState);

/* Encodes one difference of a lossless scan (-32768 as symbol 16 alone), or flushes. */
VekStatus vekiEncodeHuffmanOne_JPEG_16s1u_C1(const Vek16s* pSrc, Vek8u* pDst, Vek32s dstLenBytes, Vek32s* pDstCurrPos,
                                             const EncodeHuffmanSpec* pEncHuffTable, EncodeHuffmanState* pEncHuffState,
                                             Vek32s bFlushState);

/* Progressive scans, block by block (ISO/IEC 10918-1 Annex G). Ss and Se: first and last zigzag
   position of the band, 1 to 63; Al: the bit position, 0 to 13. Blocks stay with the caller across the
   scans, who clears them before the first; a state runs through a whole scan, as it carries the run of
   empty blocks and the correction bits that wait for it. A band and Al must not change within a scan.

   Decoders: StatusNullPointer (pSrc), StatusBadSize (srcLenBytes below 1), StatusNullPointer
   (position, block, pLastDC, pMarker), StatusBadRange (Al, Ss, Se), StatusNullPointer (table, state),
   then the statuses of decoding. A first AC scan whose run leads past position 63 is refused with
   StatusBadCoderState, so nothing is stored outside the block. */
VekStatus vekiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(const Vek8u* pSrc, Vek32s srcLenBytes, Vek32s* pSrcCurrPos, Vek16s* pDst,
                                                     Vek16s* pLastDC, Vek32s* pMarker, Vek32s Al,
                                                     const DecodeHuffmanSpec* pDcTable, DecodeHuffmanState* pDecHuffState);
VekStatus vekiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(const Vek8u* pSrc, Vek32s srcLenBytes, Vek32s* pSrcCurrPos, Vek16s* pDst,
                                                      Vek32s* pMarker, Vek32s Al, DecodeHuffmanState* pDecHuffState);
VekStatus vekiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(const Vek8u* pSrc, Vek32s srcLenBytes, Vek32s* pSrcCurrPos, Vek16s* pDst,
                                                     Vek32s* pMarker, Vek32s Ss, Vek32s Se, Vek32s Al,
                                                     const DecodeHuffmanSpec* pAcTable, DecodeHuffmanState* pDecHuffState);
VekStatus vekiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(const Vek8u* pSrc, Vek32s srcLenBytes, Vek32s* pSrcCurrPos, Vek16s* pDst,
                                                      Vek32s* pMarker, Vek32s Ss, Vek32s Se, Vek32s Al,
                                                      const DecodeHuffmanSpec* pAcTable, DecodeHuffmanState* pDecHuffState);

/* Encoders: StatusNullPointer (pDst), StatusBadSize (dstLenBytes below 1), StatusNullPointer
   (pDstCurrPos, state, in AC scans the table), then the flush; StatusNullPointer (pSrc, pLastDC),
   StatusBadRange (Al, Ss, Se), StatusNullPointer (the DC table), then the statuses of encoding, and
   StatusBitstreamEnd for a value of more than 11 bits; StatusBadCoderState from ACRefine when failed
   calls have left more correction bits than a block may add to. The flush of ACFirst returns the status
   of the padding alone; that of ACRefine the padding's unless it is StatusOk, else that of what came
   before. */
VekStatus vekiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(const Vek16s* pSrc, Vek8u* pDst, Vek32s dstLenBytes, Vek32s* pDstCurrPos,
                                                     Vek16s* pLastDC, Vek32s Al, const EncodeHuffmanSpec* pDcTable,
                                                     EncodeHuffmanState* pEncHuffState, Vek32s bFlushState);
VekStatus vekiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(const Vek16s* pSrc, Vek8u* pDst, Vek32s dstLenBytes, Vek32s* pDstCurrPos,
                                                      Vek32s Al, EncodeHuffmanState* pEncHuffState, Vek32s bFlushState);
VekStatus vekiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(const Vek16s* pSrc, Vek8u* pDst, Vek32s dstLenBytes, Vek32s* pDstCurrPos,
                                                     Vek32s Ss, Vek32s Se, Vek32s Al, const EncodeHuffmanSpec* pAcTable,
                                                     EncodeHuffmanState* pEncHuffState, Vek32s bFlushState);
VekStatus vekiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(const Vek16s* pSrc, Vek8u* pDst, Vek32s dstLenBytes, Vek32s* pDstCurrPos,
                                                      Vek32s Ss, Vek32s Se, Vek32s Al, const EncodeHuffmanSpec* pAcTable,
                                                      EncodeHuffmanState* pEncHuffState, Vek32s bFlushState);

/* Count the symbols that the encoder of the same name would write, for an optimised table of
   vekiEncodeHuffmanRawTableInit_JPEG_8u. The arrays have a counter for each of 256 symbols and are
   added to, never cleared. DCFirst: StatusNullPointer (any), StatusBadRange (Al), StatusBitstreamEnd
   for a difference of more than 11 bits. AC: StatusNullPointer (array, state), then the flush, which
   counts the pending run and clears the state; StatusNullPointer (pSrc), StatusBadRange (Al, Ss, Se).
   ACFirst counts values of up to 10 bits only, one less than the encoder takes: StatusBitstreamEnd. */
VekStatus vekiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(const Vek16s* pSrc, Vek32s* pDcStatistics, Vek16s* pLastDC, Vek32s Al);
VekStatus vekiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(const Vek16s* pSrc, Vek32s* pAcStatistics, Vek32s Ss, Vek32s Se,
                                                          Vek32s Al, EncodeHuffmanState* pEncHuffState, Vek32s bFlushState);
VekStatus vekiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(const Vek16s* pSrc, Vek32s* pAcStatistics, Vek32s Ss, Vek32s Se,
                                                           Vek32s Al, EncodeHuffmanState* pEncHuffState, Vek32s bFlushState);

/* Prediction of lossless scans (ISO/IEC 10918-1 Annex H), a row of `width` samples at a time, modulo
   2^16. Diff... forms differences from samples, Reconstruct... samples from differences. P: precision
   in bits, 2 to 16; Pt: point transform, at least 0, which enters only the first prediction,
   2^(P - Pt - 1): the samples themselves are shifted by the caller. pPrevRow: the samples of the row
   above. predictor: 1 to 7 as in the standard's table, where 5 to 7 look at samples as signed 16-bit
   numbers; sample 0 of a row is always predicted by the one above it. Rows may overlap; the result is
   that of a loop from left to right.
   StatusNullPointer (any), StatusBadSize (width below 1), StatusBadRange (P, Pt or predictor), StatusOk. */
VekStatus vekiDiffPredFirstRow_JPEG_16s_C1(const Vek16s* pSrc, Vek16s* pDst, Vek32s width, Vek32s P, Vek32s Pt);
VekStatus vekiDiffPredRow_JPEG_16s_C1(const Vek16s* pSrc, const Vek16s* pPrevRow, Vek16s* pDst, Vek32s width, Vek32s predictor);
VekStatus vekiReconstructPredFirstRow_JPEG_16s_C1(const Vek16s* pSrc, Vek16s* pDst, Vek32s width, Vek32s P, Vek32s Pt);
VekStatus vekiReconstructPredRow_JPEG_16s_C1(const Vek16s* pSrc, const Vek16s* pPrevRow, Vek16s* pDst, Vek32s width,
                                             Vek32s predictor);

UVEK_END

#endif
