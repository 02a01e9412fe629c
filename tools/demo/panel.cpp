#include "demo/panel.h"

#include "commands/files.h"

namespace uvek::demo {

void ShowWhole(Canvas& canvas, const Image& image)
{
    const Image fitted = Fit(image, canvas.width(), canvas.height());
    canvas.Place(fitted, (canvas.width() - fitted.width) / 2, (canvas.height() - fitted.height) / 2);
}

void ShowDetail(Canvas& canvas, const Scene& scene, const Image& image) { ShowWhole(canvas, Crop(image, scene.detail)); }

void ShowHalves(Canvas& canvas, const Image& left, const Image& right)
{
    Image joined = Fit(ToRgb(left), canvas.width(), canvas.height());
    const Image other = Fit(ToRgb(right), canvas.width(), canvas.height());
    const int half = joined.width / 2;
    tool::Check(vekiCopy_8u_C3R(other.row(0) + 3 * half, other.step(), joined.row(0) + 3 * half, joined.step(), {joined.width - half, joined.height}), "copy");
    ShowWhole(canvas, joined);
    const double middle = (canvas.width() - canvas.width() % 2) / 2.0 - 0.5;
    canvas.Line(middle, 0, middle, canvas.height(), 2, kWhite);
}

void ShowSplit(Canvas& canvas, const Scene& scene, const Image& before, const Image& after)
{
    ShowHalves(canvas, Crop(before, scene.detail), Crop(after, scene.detail));
}

void ShowQuarters(Canvas& canvas, const std::vector<Quarter>& quarters)
{
    constexpr int kGap = 2;
    const int width = (canvas.width() - kGap + 1) / 2, height = (canvas.height() - kGap + 1) / 2;
    for (size_t i = 0; i < quarters.size(); ++i) {
        const Image fitted = Fit(quarters[i].image, width, height);
        const int left = i % 2 ? canvas.width() - width : 0, top = i / 2 ? canvas.height() - height : 0;
        canvas.Place(fitted, left + (width - fitted.width) / 2, top + (height - fitted.height) / 2);
        if (!quarters[i].label.empty())
            canvas.Label(left, top + height, quarters[i].label);
    }
}

}  // namespace uvek::demo
