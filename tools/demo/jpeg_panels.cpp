// The codec that stands on the library: a file decoded, and the picture at a low quality.
#include "codec/jpeg.h"
#include "demo/panel.h"

namespace uvek::demo {

void AddJpegPanels(const Scene& scene, std::vector<Panel>& panels)
{
    constexpr int kLowQuality = 8;
    const ImagePointer decoded = NewImage(scene, 3), coarse = NewImage(scene, 3);
    panels.push_back({"jpeg", "Decoded", "vekiDecodeHuffman8x8_JPEG_1u16s_C1",
                      [&scene, decoded] { *decoded = codec::ToDisplay(codec::DecodeJpeg(scene.file).image); },
                      [decoded](Canvas& canvas) { ShowWhole(canvas, *decoded); }});

    const auto size = std::make_shared<size_t>(0);
    panels.push_back({"jpeg", "Coded at quality 8", "vekiDCTQuantFwd8x8LS_JPEG_8u16s_C1R",
                      [&scene, coarse, size] {
                          codec::EncodeOptions options;
                          options.quality = kLowQuality;
                          const codec::Bytes file = codec::EncodeJpeg(scene.rgb, options);
                          *size = file.size();
                          *coarse = codec::DecodeJpeg(file).image;
                      },
                      [&scene, coarse, size](Canvas& canvas) {
                          ShowDetail(canvas, scene, *coarse);
                          canvas.Label(0, canvas.height(), std::to_string(*size) + " bytes for " + std::to_string(scene.rgb.width) + "x" + std::to_string(scene.rgb.height));
                      }});
}

}  // namespace uvek::demo
