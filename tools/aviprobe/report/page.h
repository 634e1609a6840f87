#ifndef ZU_TOOLS_AVIPROBE_REPORT_PAGE_H_
#define ZU_TOOLS_AVIPROBE_REPORT_PAGE_H_

#include <string>

#include "tools/aviprobe/text/json_line.h"

// style.css and script.js, put into the tool by the build.
extern const char* const kReportStyle;
extern const char* const kReportScript;

/// One page that needs nothing else, from what was found out about each file. All of `files` is in the page as JSON
/// too.
///
/// A file has `file` (its path), `check` (as `check --json` prints it), `series` (see series.h), `headers` and `hex`
/// (see details.h); any of these but the first two may be missing, where the library ended the process.
std::string ReportPage(const Json& files);

/// The part of one file. @param number  its place in `files`, by which links and the script find it.
std::string FileSection(const Json& file, size_t number);

/// What the verdict is called on the page, and "error", "warning", "note" or "fine" for its looks.
std::string VerdictText(const Json& file);
std::string VerdictClass(const Json& file);

/// What the first of the worst findings means to a viewer; empty where there are but notes.
std::string WorstText(const Json& file);

/// Empty where it is not known.
std::string SizeText(const Json& file);

#endif  // ZU_TOOLS_AVIPROBE_REPORT_PAGE_H_
