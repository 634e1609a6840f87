#ifndef ZU_TOOLS_AVIPROBE_TEXT_SHOWN_H_
#define ZU_TOOLS_AVIPROBE_TEXT_SHOWN_H_

#include <string>
#include <string_view>

/// A file's name, or a line with one, as a terminal may get it: what is UTF-8 stays readable; control characters, marks
/// that turn the direction of the text around and bytes that are no UTF-8 become "\x1b". Bytes of FourCCs and of names
/// inside files go through Printable(), which leaves ASCII alone.
std::string Shown(std::string_view text);

#endif  // ZU_TOOLS_AVIPROBE_TEXT_SHOWN_H_
