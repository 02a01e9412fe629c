// The tool's commands. Each adds itself to the command line; its callback returns by setting the exit
// status, or throws Error.
#ifndef UVEK_TOOLS_COMMANDS_COMMANDS_H
#define UVEK_TOOLS_COMMANDS_COMMANDS_H

#include <CLI/CLI.hpp>

namespace uvek::tool {

void AddFilter(CLI::App& app, int& exitStatus);
void AddFourier(CLI::App& app, int& exitStatus);
void AddGeometry(CLI::App& app, int& exitStatus);
void AddInfo(CLI::App& app, int& exitStatus);
void AddColour(CLI::App& app, int& exitStatus);
void AddJpeg(CLI::App& app, int& exitStatus);
void AddVision(CLI::App& app, int& exitStatus);

}  // namespace uvek::tool

#endif
