// Letters, by Cairo: titles and the labels of plots. Nothing else on a sheet is drawn by another library.
#include <cairo.h>

#include <cmath>

#include "demo/canvas.h"

namespace uvek::demo {
namespace {

constexpr uint8_t kOpaque = 255;

// A surface of coverages with the wanted font selected.
class Letters {
public:
    Letters(int width, int height, int pixels, Face face)
        : surface_(cairo_image_surface_create(CAIRO_FORMAT_A8, width, height)), context_(cairo_create(surface_))
    {
        cairo_select_font_face(context_, face == Face::Mono ? "DejaVu Sans Mono" : "DejaVu Sans", CAIRO_FONT_SLANT_NORMAL,
                               face == Face::Bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
        cairo_set_font_size(context_, pixels);
    }
    ~Letters()
    {
        cairo_destroy(context_);
        cairo_surface_destroy(surface_);
    }
    Letters(const Letters&) = delete;
    Letters& operator=(const Letters&) = delete;

    int Width(const std::string& text) const
    {
        cairo_text_extents_t extents;
        cairo_text_extents(context_, text.c_str(), &extents);
        return (int)std::ceil(extents.x_advance);
    }
    void Draw(int x, int y, const std::string& text)
    {
        cairo_move_to(context_, x, y);
        cairo_show_text(context_, text.c_str());
        cairo_surface_flush(surface_);
    }
    double Coverage(int x, int y) const
    {
        return (double)cairo_image_surface_get_data(surface_)[y * cairo_image_surface_get_stride(surface_) + x] / kOpaque;
    }

private:
    cairo_surface_t* surface_;
    cairo_t* context_;
};

}  // namespace

int TextWidth(int pixels, Face face, const std::string& text) { return Letters(1, 1, pixels, face).Width(text); }

int Canvas::Text(int x, int y, int pixels, Face face, Colour colour, const std::string& text, Align align)
{
    const int textWidth = TextWidth(pixels, face, text), overhang = pixels;
    if (text.empty())
        return 0;
    const int left = x - (align == Align::Left ? 0 : align == Align::Centre ? textWidth / 2 : textWidth);
    Letters letters(textWidth + 2 * overhang, 2 * pixels, pixels, face);
    const int baseline = pixels + pixels / 2;
    letters.Draw(overhang, baseline, text);
    for (int j = 0; j < 2 * pixels; ++j)
        for (int i = 0; i < textWidth + 2 * overhang; ++i)
            Blend(left - overhang + i, y - baseline + j, colour, letters.Coverage(i, j));
    return textWidth;
}

}  // namespace uvek::demo
