// Windows.
#include "frame/platform.h"

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>

#include "frame/frame.h"

namespace uvek {

void ModulePath(void* module, char* path, size_t capacity)
{
    const DWORD length = GetModuleFileNameA((HMODULE)module, path, (DWORD)capacity);
    path[length < capacity ? length : capacity - 1] = '\0';
}

bool CanOpenForReading(const char* path)
{
    const HANDLE file = CreateFileA(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    CloseHandle(file);
    return true;
}

void ReportLoadFailure(const char* text, const char* caption)
{
    MessageBeep(MB_ICONERROR);
    MessageBoxA(nullptr, text, caption, MB_ICONERROR);
}

void* PlatformAllocate(size_t bytes) { return HeapAlloc(GetProcessHeap(), 0, bytes); }

void PlatformRelease(void* block) { HeapFree(GetProcessHeap(), 0, block); }

bool IsReadable(const void* address, size_t bytes) { return !IsBadReadPtr(address, bytes); }

}  // namespace uvek

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID)
{
    return uvek::LoadEntry(module, (Vek32s)reason) ? TRUE : FALSE;
}
