// Shrinks many pictures on several threads: thumbnails THREADS FOLDER FILE.ppm ...
//
// The library keeps nothing between calls, so that any number of threads may call it at once, without locks.
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "ppm.hpp"

namespace {

constexpr int kLongestSide = 160;

RgbImage Shrink(const RgbImage& picture)
{
    const double factor = std::min(1.0, (double)kLongestSide / std::max(picture.width(), picture.height()));
    RgbImage thumbnail(std::max(1, (int)(picture.width() * factor + 0.5)), std::max(1, (int)(picture.height() * factor + 0.5)));
    check(uvek::resize(picture, thumbnail, InterSuper));
    return thumbnail;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc < 4) {
        std::fprintf(stderr, "usage: thumbnails THREADS FOLDER FILE.ppm ...\n");
        return EXIT_FAILURE;
    }
    const std::filesystem::path folder = argv[2];
    const std::vector<std::filesystem::path> files(argv + 3, argv + argc);

    // Each thread takes the next file until there is none.
    std::atomic<size_t> next = 0, failures = 0;
    const auto work = [&] {
        for (size_t i = next++; i < files.size(); i = next++) {
            try {
                WritePpm((folder / files[i].filename()).string(), Shrink(ReadPpm(files[i].string())));
            } catch (const std::exception& error) {
                std::fprintf(stderr, "thumbnails: %s\n", error.what());
                ++failures;
            }
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < std::max(1, std::atoi(argv[1])); ++i)
        threads.emplace_back(work);
    for (std::thread& thread : threads)
        thread.join();
    std::printf("%zu thumbnails\n", files.size() - failures);
    return failures ? EXIT_FAILURE : EXIT_SUCCESS;
}
