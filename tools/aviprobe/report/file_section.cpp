#include <fmt/format.h>

#include <algorithm>
#include <string_view>

#include "tools/aviprobe/report/charts.h"
#include "tools/aviprobe/report/html.h"
#include "tools/aviprobe/report/page.h"

namespace {

constexpr size_t kShown = 100;  // findings; the rest is in the facts

/// A number and its noun: "1 error", "2 errors".
std::string Count(int64_t number, const char* noun) {
  return fmt::format("{} {}{}", Grouped(number), noun, number == 1 ? "" : "s");
}

std::string Counts(const Json& check) {
  std::string text;
  for (const char* noun : {"error", "warning", "note"}) {
    const int64_t number = CountOf(check, (std::string(noun) + "s").c_str());
    if (number) text += (text.empty() ? "" : ", ") + Count(number, noun);
  }
  return text.empty() ? "no findings" : text;
}

std::string Fact(const char* name, const std::string& value) {
  return value.empty() ? std::string() : fmt::format("<div><dt>{}</dt><dd>{}</dd></div>", name, EscapeHtml(value));
}

/// What a finding means to a viewer, without the file's name, which stands above.
std::string Consequence(const Json& file, const Json& finding) {
  const std::string text = TextOf(finding, "consequence"), name = TextOf(file, "file") + ": ";
  return text.starts_with(name) ? text.substr(name.size()) : text;
}

/// What is delivered of what should be.
std::string Plays(const Json& check) {
  if (!Has(check, "delivered_ms")) return "not at all";
  const std::string delivered = ClockOf(IntOf(check, "delivered_ms"));
  return fmt::format("{} of {}", delivered, ClockOf(IntOf(check, "expected_ms")));
}

/// The kinds of index that any track has.
std::string Index(const Json& check) {
  std::string text;
  for (const Json& track : ListOf(check, "tracks")) {
    for (const Json& kind : ListOf(track, "index")) {
      const auto name = kind.get<std::string>();
      if (text.find(name) == std::string::npos) text += (text.empty() ? "" : ", ") + name;
    }
  }
  return text.empty() ? "none" : text;
}

std::string GaveUp(const Json& file) {
  if (!Has(file, "gave_up")) return {};
  return fmt::format("<p>It {} while {}. What is shown below was found out before.</p>",
                     EscapeHtml(TextOf(file, "gave_up")), EscapeHtml(TextOf(file, "stage")));
}

std::string Lede(const Json& file) {
  const std::string worst = WorstText(file);
  return worst.empty() ? worst : fmt::format(R"(<p class="lede">{}</p>)", EscapeHtml(worst));
}

std::string Head(const Json& file, size_t number) {
  const Json& check = file["check"];
  return fmt::format(
      R"(<section class="wide file verdict-{0}" id="file{1}" aria-labelledby="verdict{1}"><p class="name">{2}</p>)"
      R"(<h2 id="verdict{1}">{3}</h2>{9}{8}<dl class="key">{4}{5}{6}{7}</dl>)",
      VerdictClass(file), number, EscapeHtml(TextOf(file, "file")), EscapeHtml(VerdictText(file)),
      Fact("Findings", Counts(check)), Fact("Size", SizeText(file)), Fact("Plays", Plays(check)),
      Fact("Index", Index(check)), GaveUp(file), Lede(file));
}

/// The bytes around a finding, sixteen a line, the offending ones marked.
std::string HexView(const Json& hex) {
  const std::string digits = TextOf(hex, "bytes");
  const int64_t from = IntOf(hex, "offset"), markFrom = IntOf(hex, "mark_offset");
  const int64_t markEnd = markFrom + IntOf(hex, "mark_bytes");
  const auto count = static_cast<int64_t>(digits.size() / 2);
  std::string out = R"(<details><summary>The bytes there</summary><div class="hex" tabindex="0">)";
  const size_t width = fmt::formatted_size("{}", from + count);
  for (int64_t line = 0; line < count; line += 16) {
    std::string text;
    out += fmt::format(R"(<span class="at">{:>{}}</span>  )", from + line, width);
    for (int64_t at = line; at < line + 16; ++at) {
      if (at >= count) {
        out += "   ";
        continue;
      }
      const std::string byte = digits.substr(static_cast<size_t>(at) * 2, 2);
      const bool marked = from + at >= markFrom && from + at < markEnd;
      out += marked ? fmt::format("<mark>{}</mark> ", byte) : byte + " ";
      const auto value = static_cast<char>(std::stoi(byte, nullptr, 16));
      const std::string shown = value >= ' ' && value <= '~' ? EscapeHtml({&value, 1}) : "·";
      text += marked ? fmt::format("<mark>{}</mark>", shown) : shown;
    }
    out += " " + text + "\n";
  }
  return out + "</div></details>";
}

std::string Where(const Json& finding) {
  std::string text = fmt::format("<code>{}</code>", EscapeHtml(TextOf(finding, "code")));
  if (Has(finding, "track")) text += fmt::format(" · track {}", IntOf(finding, "track"));
  // As other tools take them: one click marks the whole.
  constexpr const char* kPlace = R"( · {} <span class="place mono">{}</span>)";
  if (Has(finding, "offset")) text += fmt::format(kPlace, "at byte", IntOf(finding, "offset"));
  if (Has(finding, "time_ms")) text += fmt::format(kPlace, "at", ClockOf(IntOf(finding, "time_ms")));
  return text;
}

std::string Findings(const Json& file) {
  const Json& findings = ListOf(file["check"], "findings");
  std::string out = "<h3>Findings</h3>";
  if (findings.empty() && !Has(file, "series")) return out + "<p>None: nothing was found out about this file.</p>";
  if (findings.empty()) return out + "<p>None: structure, index and playback agree with each other.</p>";
  out += R"(<ol class="findings">)";
  for (size_t i = 0; i < std::min(findings.size(), kShown); ++i) {
    const Json& finding = findings[i];
    const std::string severity = TextOf(finding, "severity");
    out += fmt::format(
        R"(<li class="finding {0}"><div class="severity">{0}</div><div><p class="where">{1}</p><p class="what">{2}</p>)"
        R"(<p class="advice">Advice: {3}</p>)",
        EscapeHtml(severity), Where(finding), EscapeHtml(Consequence(file, finding)),
        EscapeHtml(TextOf(finding, "advice")));
    for (const Json& hex : ListOf(file, "hex")) {
      if (IntOf(hex, "finding") == static_cast<int64_t>(i)) out += HexView(hex);
    }
    out += "</div></li>";
  }
  out += "</ol>";
  if (findings.size() > kShown)
    out += fmt::format("<p class=\"soft\">{} more are in the JSON.</p>", findings.size() - kShown);
  return out;
}

/// The time, which can be compared, and how it is counted below; "–" where there is nothing to say.
std::string Cell(const Json& track, const char* name, const char* noun, const char* looks) {
  const bool isIndex = std::string_view(name) == "indexed";
  if (!Has(track, name) || (isIndex && ListOf(track, "index").empty())) return R"(<td class="num">–</td>)";
  const Json& amount = track[name];
  const int64_t units = IntOf(amount, "units");
  return fmt::format(R"(<td class="num {}">{}<span class="sub"><span data-fact="{}">{}</span> {}{}</span></td>)", looks,
                     ClockOf(IntOf(amount, "ms")), name, Grouped(units), noun, units == 1 ? "" : "s");
}

/// A track that failed, or that delivers noticeably less than its header declares.
bool IsShort(const Json& track) {
  if (!Has(track, "delivered")) return false;
  constexpr int64_t kNoticed = 500;
  const Json& delivered = track["delivered"];
  const int64_t declared = Has(track, "declared") ? IntOf(track["declared"], "ms") : 0;
  return TextOf(delivered, "end") != "end" || IntOf(delivered, "ms") + kNoticed < declared;
}

std::string Tracks(const Json& file) {
  const Json& tracks = ListOf(file["check"], "tracks");
  std::string out = "<h3>Tracks</h3>";
  if (tracks.empty()) return out + "<p>No track is described in this file.</p>";
  out += R"(<p class="soft">Time, and its units as the header counts them or reads as a player makes them.</p>)"
         R"(<div class="scroll"><table><thead><tr><th scope="col">Track</th><th scope="col">Codec</th>)"
         R"(<th scope="col" class="num">Declared</th><th scope="col" class="num">Indexed</th>)"
         R"(<th scope="col" class="num">Present</th><th scope="col" class="num">Delivered</th></tr></thead><tbody>)";
  for (const Json& track : tracks) {
    out += fmt::format(R"(<tr data-track="{0}"><th scope="row">{1} {0}</th><td>{2}</td>)", IntOf(track, "track"),
                       EscapeHtml(TextOf(track, "type")), EscapeHtml(TextOf(track, "codec")));
    for (const char* name : {"declared", "indexed", "present"}) out += Cell(track, name, "unit", "");
    out += Cell(track, "delivered", "read", IsShort(track) ? "short" : "") + "</tr>";
  }
  return out + "</tbody></table></div>";
}

/// A chart under its heading, or words where there is nothing to draw.
std::string Figure(const char* title, const char* caption, const std::string& svg, const std::string& instead) {
  if (svg.empty()) return fmt::format("<h3>{}</h3><p>{}</p>", title, EscapeHtml(instead));
  return fmt::format(R"(<h3>{}</h3><figure><figcaption><p>{}</p><output></output></figcaption>{}</figure>)", title,
                     caption, svg);
}

std::string SeekTable(const Json& seeks) {
  const Json& places = ListOf(seeks, "places");
  if (places.empty()) return {};
  std::string rows;
  for (const Json& place : places) {
    rows += fmt::format(
        R"(<tr><td class="num">{}</td><td class="num">{}</td><td class="num">{}</td><td class="num">{}</td></tr>)",
        ClockOf(IntOf(place, "asked_ms")), Has(place, "reached_ms") ? ClockOf(IntOf(place, "reached_ms")) : "nothing",
        Grouped(IntOf(place, "reads")), Grouped(IntOf(place, "bytes")));
  }
  return R"(<details><summary>Each seek</summary><div class="scroll"><table><thead><tr><th scope="col" class="num">Asked</th>)"
         R"(<th scope="col" class="num">Reached</th><th scope="col" class="num">Reads</th>)"
         R"(<th scope="col" class="num">Bytes</th></tr></thead><tbody>)" +
         rows + "</tbody></table></div></details>";
}

std::string Charts(const Json& file, size_t number) {
  static const Json none = Json::object();
  const Json& series = Has(file, "series") ? file["series"] : none;
  const auto of = [&](const char* name) -> const Json& { return Has(series, name) ? series[name] : none; };
  const auto key = [&](const char* name) { return fmt::format("{}/{}", number, name); };
  const Json& findings = ListOf(file["check"], "findings");
  const double end = NumberOf(of("time_line"), "end_ms"), size = NumberOf(of("byte_map"), "size");
  const bool played = end > 0;
  const std::string unplayed = "Nothing was delivered, so there is nothing to show here.";

  std::string out = Figure("Byte map", "What stands where in the file; the height is the share of the bytes there.",
                           ByteMapChart(of("byte_map"), findings, key("byte_map")), "The file could not be mapped.");
  out += Figure("Time line", "What each track delivers, over the thin line of what its header declares.",
                TimeLineChart(of("time_line"), findings, key("time_line")), unplayed);
  out += Figure("Audio against video", "Above 0 sound is ahead of the picture at the same place in the file.",
                LineChart(of("drift"), end, {"Audio ahead of video over time", EDraw::kLine, true, 100}, key("drift")),
                played ? "This takes a video and an audio track that both deliver." : unplayed);
  out += Figure("Bit rate", "As delivered, per second.",
                LineChart(of("bit_rate"), end, {"Bit rate over time", EDraw::kSteps}, key("bit_rate")), unplayed);
  out += Figure("Interleave", "Bytes between the sound and the picture of the same time, along the file.",
                LineChart(of("interleave"), size, {"Interleave distance along the file", EDraw::kLine, false, 4},
                          key("interleave")),
                played ? "This takes a video and an audio track that both deliver." : unplayed);
  out += Figure(
      "Key frames", "Seconds from each key frame to the next one: how coarse seeking is.",
      LineChart(of("key_intervals"), end, {"Key-frame intervals over time", EDraw::kStems}, key("key_intervals")),
      played ? "No key frames are known." : unplayed);
  out += Figure("Seeking", "What each of these seeks reads until the next picture is there.",
                SeekChart(of("seeks"), end, key("seeks")),
                Has(of("seeks"), "words") ? TextOf(of("seeks"), "words") : unplayed);
  return out + SeekTable(of("seeks"));
}

std::string Headers(const Json& file) {
  const Json& headers = ListOf(file, "headers");
  std::string out = "<h3>Headers</h3>";
  if (headers.empty()) return out + "<p>There is no header that can be decoded.</p>";
  out += "<details><summary>All fields, decoded</summary>";
  for (const Json& header : headers) {
    out += fmt::format(
        R"(<div class="scroll"><table><caption class="soft">{} at byte {}</caption><thead><tr><th scope="col" )"
        R"(class="num">Offset</th><th scope="col">Field</th><th scope="col">Value</th>)"
        R"(<th scope="col">Meaning</th></tr></thead><tbody>)",
        EscapeHtml(TextOf(header, "chunk")), IntOf(header, "offset"));
    for (const Json& field : ListOf(header, "fields")) {
      out +=
          fmt::format(R"(<tr><td class="num">{}</td><td><code>{}</code></td><td class="mono">{}</td><td>{}</td></tr>)",
                      IntOf(field, "offset"), EscapeHtml(TextOf(field, "name")), EscapeHtml(TextOf(field, "raw")),
                      EscapeHtml(TextOf(field, "meaning")));
    }
    out += "</tbody></table></div>";
  }
  return out + "</details>";
}

bool IsUnreadable(const Json& file) { return TextOf(file["check"], "verdict") == "unreadable"; }

}  // namespace

std::string VerdictText(const Json& file) {
  if (Has(file, "gave_up")) return "The library gave up on this file";
  const std::string verdict = TextOf(file["check"], "verdict");
  if (IsUnreadable(file)) return "Cannot be read";
  if (verdict == "errors") return "Damaged";
  if (verdict == "warnings") return "Plays, with faults";
  return verdict == "notes" ? "Plays well, with notes" : "Nothing is wrong";
}

std::string VerdictClass(const Json& file) {
  const Json& check = file["check"];
  if (Has(file, "gave_up") || IsUnreadable(file) || CountOf(check, "errors")) return "error";
  return CountOf(check, "warnings") ? "warning" : CountOf(check, "notes") ? "note" : "fine";
}

std::string WorstText(const Json& file) {
  const Json& findings = ListOf(file["check"], "findings");
  for (const char* severity : {"error", "warning"}) {
    for (const Json& finding : findings) {
      if (TextOf(finding, "severity") == severity) return Consequence(file, finding);
    }
  }
  return {};
}

std::string SizeText(const Json& file) {
  return Has(file["check"], "size") ? ByteText(NumberOf(file["check"], "size")) : "";
}

std::string FileSection(const Json& file, size_t number) {
  const std::string about = Head(file, number) + Findings(file);
  if (IsUnreadable(file)) return about + "</section>";
  return about + Tracks(file) + Charts(file, number) + Headers(file) + "</section>";
}
