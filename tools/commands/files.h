// Pictures of any kind that the tool reads, and what its exit status tells of them.
#ifndef UVEK_TOOLS_COMMANDS_FILES_H
#define UVEK_TOOLS_COMMANDS_FILES_H

#include <string>

#include "codec/image.h"

namespace uvek::tool {

enum ExitStatus { kDone = 0, kFailed = 1, kPartly = 2 };

// JPEG, PNG or PNM. A warning about a broken JPEG file goes to standard error and sets exitStatus.
codec::Image ReadPicture(const std::string& path, int& exitStatus);

// The same as 8-bit RGB, whatever it was; as 8-bit grey.
codec::Image ReadRgb(const std::string& path, int& exitStatus);
codec::Image ReadGrey(const std::string& path, int& exitStatus);

// JPEG (of quality 92), PNG or PNM by the extension.
void WritePicture(const std::string& path, const codec::Image& image);

// Throws what a status of the library means for a command.
void Check(int status, const char* what);

}  // namespace uvek::tool

#endif
