#include "tools/aviprobe/report/page.h"

#include <fmt/format.h>

#include "tools/aviprobe/report/html.h"

namespace {

std::string Overview(const Json& files) {
  std::string rows;
  for (size_t i = 0; i < files.size(); ++i) {
    const Json& check = files[i]["check"];
    const std::string size = SizeText(files[i]);
    rows += fmt::format(
        R"(<tr class="verdict-{}"><th scope="row"><a href="#file{}">{}</a></th><td><span class="verdict">{}</span>)"
        R"(<span class="sub">{}</span></td><td class="num">{}</td><td class="num">{}</td><td class="num">{}</td><td class="num">{}</td></tr>)",
        VerdictClass(files[i]), i, EscapeHtml(TextOf(files[i], "file")), EscapeHtml(VerdictText(files[i])),
        EscapeHtml(WorstText(files[i])), CountOf(check, "errors"), CountOf(check, "warnings"), CountOf(check, "notes"),
        size.empty() ? "–" : size);
  }
  return R"(<section class="wide file" aria-labelledby="files"><h2 id="files">Files</h2><div class="scroll"><table><thead><tr>)"
         R"(<th scope="col">File</th><th scope="col">Verdict</th><th scope="col" class="num">Errors</th>)"
         R"(<th scope="col" class="num">Warnings</th><th scope="col" class="num">Notes</th>)"
         R"(<th scope="col" class="num">Size</th></tr></thead><tbody>)" +
         rows + "</tbody></table></div></section>";
}

/// Keeps a browser from asking for anything at all, whatever a file's text may have brought in.
constexpr const char* kPolicy =
    "default-src 'none'; style-src 'unsafe-inline'; script-src 'unsafe-inline'; img-src data:; base-uri 'none'";

}  // namespace

std::string ReportPage(const Json& files) {
  const std::string title = files.size() == 1 ? TextOf(files[0], "file") : fmt::format("{} files", files.size());
  std::string out = fmt::format(
      R"(<!DOCTYPE html><html lang="en"><head><meta charset="utf-8"><meta http-equiv="Content-Security-Policy" content="{}">)"
      R"(<meta name="viewport" content="width=device-width, initial-scale=1"><link rel="icon" href="data:,">)"
      R"(<title>{} – aviprobe report</title><style>{}</style></head><body>)"
      R"(<header class="head"><div class="wide"><h1>aviprobe report</h1><p class="hint">Drag across a time chart to look closer</p></div>)"
      R"(</header><main>)",
      kPolicy, EscapeHtml(title), kReportStyle);
  if (files.size() != 1) out += Overview(files);
  for (size_t i = 0; i < files.size(); ++i) out += FileSection(files[i], i);
  out += fmt::format(
      R"(</main><footer class="wide foot">Structure as found by the tool's own walk of the file; what is delivered, as the )"
      R"(library hands it to a player. All numbers are inside this page as JSON, in its element #facts.</footer>)"
      R"(<button class="reset" type="button" hidden>Show all of the time</button>)"
      R"(<script type="application/json" id="facts">{}</script><script>{}</script></body></html>)",
      ScriptJson({{"files", files}}), kReportScript);
  return out + "\n";
}
