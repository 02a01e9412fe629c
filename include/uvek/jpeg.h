/* The pieces of a JPEG codec. */
#ifndef UVEK_JPEG_H
#define UVEK_JPEG_H

#include "uvek/base.h"

UVEK_BEGIN

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
   overflow their length (decoder) or for a length whose codes reach all ones (encoder); StatusOk.
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
   StatusBitstreamEnd for a value of more than 11 bits. The flush of ACFirst returns the status of the
   padding alone; that of ACRefine the padding's unless it is StatusOk, else that of what came before. */
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
