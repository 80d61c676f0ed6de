// Small file routines that every layer shares: whole writes, and what a file's name and first bytes say.
#pragma once
#include <cstddef>
#include <string>
#include <string_view>

namespace session {

// Writes all n bytes, going on after interrupted calls. False when the file refused part of them.
bool write_all(int fd, const char *p, size_t n);
// The extension of the last component of a path, with the dot ("" when none).
std::string path_extension(std::string_view path);
// True when the first bytes of a file look binary (a NUL byte, or many control characters).
bool looks_binary(const char *p, size_t n);

} // namespace session
