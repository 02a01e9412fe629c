// Panels laid out in a grid, each with its title below it.
#ifndef UVEK_TOOLS_DEMO_SHEET_H
#define UVEK_TOOLS_DEMO_SHEET_H

#include "demo/panel.h"

namespace uvek::demo {

struct Shown {
    Panel panel;
    std::string fault;  // why it has no result, or empty
};

// With a heading, or without where `heading` is empty.
Image MakeSheet(const Scene& scene, const std::vector<Shown>& panels, const std::string& heading, const std::string& detail);

}  // namespace uvek::demo

#endif
