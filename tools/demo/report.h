// Times by tier, and what the terminal shows.
#ifndef UVEK_TOOLS_DEMO_REPORT_H
#define UVEK_TOOLS_DEMO_REPORT_H

#include <functional>
#include <string>

#include "codec/jpeg.h"

namespace uvek::demo {

constexpr int kTiers = 4;

// The highest tier whose instructions this processor has.
int HighestTier();

// The demo is linked with a static build of the library's objects and sets the tier as the tests do: the
// shared library has no way to choose one.
void UseTier(int tier);

// A line on standard error, where that is a terminal, until it is cleared.
void ShowProgress(const std::string& text);
void ClearProgress();

void PrintTimesHeading(const char* what);

// Runs `work` in each tier, after `prepare`, and prints the best time of some rounds. Ends in the highest tier.
void PrintTimes(const std::string& what, const std::function<void()>& work, const std::function<void()>& prepare = [] {});

// Files of three qualities in `folder`: bytes, PSNR, times.
void ReportCodec(const codec::Image& picture, const codec::Bytes& jpegFile, const std::string& folder);

}  // namespace uvek::demo

#endif
