// Binary PPM pictures (P6, 8 bits a sample) for the examples in C++.
#ifndef UVEK_EXAMPLES_PPM_HPP
#define UVEK_EXAMPLES_PPM_HPP

#include <fstream>
#include <stdexcept>
#include <string>

#include <uvek/uvek.hpp>

using RgbImage = uvek::image<Vek8u, 3>;
using GrayImage = uvek::image<Vek8u, 1>;

inline RgbImage ReadPpm(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::string kind;
    int width = 0, height = 0, largest = 0;
    if (!(file >> kind >> width >> height >> largest) || kind != "P6" || largest != 255)
        throw std::runtime_error(path + ": no binary PPM file");
    file.get();
    RgbImage image(width, height);
    for (int y = 0; y < height; ++y)
        file.read(reinterpret_cast<char*>(image.row(y).data()), image.row(y).length());
    if (!file)
        throw std::runtime_error(path + ": cut off");
    return image;
}

inline void WritePpm(const std::string& path, uvek::const_image_view<Vek8u, 3> image)
{
    std::ofstream file(path, std::ios::binary);
    file << "P6\n" << image.width() << ' ' << image.height() << "\n255\n";
    for (int y = 0; y < image.height(); ++y)
        file.write(reinterpret_cast<const char*>(image.row(y).data()), image.row(y).length());
    if (!file.flush())
        throw std::runtime_error(path + ": cannot be written");
}

#endif
