#ifndef COMMON_UTF8_H
#define COMMON_UTF8_H

#include <istream>
#include <string>

/// Reads the stream to its end. False when it holds bytes that are not UTF-8 text; `error` then says where.
bool IsUtf8(std::istream& text, std::string& error);

#endif
