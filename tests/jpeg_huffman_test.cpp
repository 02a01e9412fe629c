#include "support/jpeg_file.h"

#include <gmock/gmock.h>

#include "support/guarded.h"
#include "support/random.h"
#include "support/tiers.h"
#ifdef UVEK_HAVE_LIBJPEG
#include "support/libjpeg_peer.h"
#endif

namespace uvek::test {
namespace {

class JpegHuffmanTest : public TierTest {};

#ifdef UVEK_HAVE_LIBJPEG
TEST_P(JpegHuffmanTest, FilesOfLibjpegGiveItsCoefficientsAndItsBytesAgain)
{
    for (int i = 0; i < 60; ++i) {
        PeerOptions options;
        options.width = 1 + i * 37 % 150;
        options.height = 1 + i * 53 % 90;
        options.channels = i % 5 == 0 ? 1 : i % 7 == 0 ? 4 : 3;
        options.h = 1 + i % 2;
        options.v = 1 + i / 2 % 2;
        options.quality = i == 0 ? 1 : i == 1 ? 100 : 20 + i * 29 % 80;
        options.restart = i % 3 == 0 ? 1 + i % 4 : 0;
        options.optimize = i % 4 == 1;
        options.interleave = i % 6 != 2;
        options.detail = 10 + i % 8 * 30;
        const JpegFile file = ParseJpeg(CompressWithLibjpeg(options));
        SCOPED_TRACE(testing::Message() << "case " << i << " of " << file.scans.size() << " scans");
        Coefficients coefficients = EmptyCoefficients(file);
        for (const JpegScan& scan : file.scans) {
            const uint8_t* const data = file.bytes.data() + scan.begin;
            ASSERT_EQ(StatusOk, ScanDecoder(file, scan).Decode(data, (Vek32s)(scan.end - scan.begin), coefficients));
            // The same with the whole of the file behind it, as most callers have it.
            ASSERT_EQ(StatusOk, ScanDecoder(file, scan).Decode(data, (Vek32s)(file.bytes.size() - scan.begin), coefficients));
        }
        ASSERT_EQ(ReadWithLibjpeg(file), coefficients);
        for (const JpegScan& scan : file.scans) {
            Bytes written(2 * (scan.end - scan.begin) + 600);
            ASSERT_EQ(StatusOk, ScanEncoder(file, scan).Encode(coefficients, written));
            ASSERT_EQ(Bytes(file.bytes.begin() + (long)scan.begin, file.bytes.begin() + (long)scan.end), written);
        }
    }
}
#endif

UVEK_ON_ALL_TIERS(JpegHuffmanTest);

}  // namespace
}  // namespace uvek::test
