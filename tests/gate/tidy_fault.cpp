// What clang-tidy must find: a comparison that is always the same, and a copy that nobody needs.
#include <string>

bool IsLonger(std::string text, const std::string& other) { return text.size() > text.size() || other.empty(); }
