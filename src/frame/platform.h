// What differs between operating systems.
#ifndef UVEK_FRAME_PLATFORM_H
#define UVEK_FRAME_PLATFORM_H

#include <stddef.h>

namespace uvek {

// Writes the path of the library itself, zero-ended and cut to `capacity`.
void ModulePath(void* module, char* path, size_t capacity);

// Whether the file can be opened for reading; it is closed unread.
bool CanOpenForReading(const char* path);

// Tells the user why the library refuses to load.
void ReportLoadFailure(const char* text, const char* caption);

// Memory of the process heap, at least 8-byte aligned.
void* PlatformAllocate(size_t bytes);
void PlatformRelease(void* block);

// Whether `bytes` bytes at `address` can be read. Asks the system: touches nothing, raises nothing.
bool IsReadable(const void* address, size_t bytes);

}  // namespace uvek

#endif
