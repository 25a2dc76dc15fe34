#include "demo_page.h"

#include <algorithm>
#include <sstream>
#include <string_view>

#include "morvik/morvik.h"
#include "pictures/files.h"

namespace tool {
namespace {

constexpr std::string_view kHead = R"html(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta name="color-scheme" content="light dark">
<title>Morvik demo</title>
<style>
:root { --ground: #fbfaf8; --card: #fff; --text: #1c1b1a; --soft: #67625c; --line: #e2ddd6; --code: #f3f0eb; --check: #cfc9c0; }
@media (prefers-color-scheme: dark) {
  :root { --ground: #161514; --card: #201f1d; --text: #eceae6; --soft: #a39d94; --line: #37342f; --code: #2b2926; --check: #3d3a35; }
}
* { box-sizing: border-box; }
body { margin: 0; background: var(--ground); color: var(--text); font: 16px/1.5 system-ui, sans-serif; }
main { max-width: 1280px; margin: 0 auto; padding: 2rem 1.25rem 4rem; }
h1 { font-size: 2rem; margin: 0 0 .25rem; }
h2 { font-size: 1.3rem; margin: 3rem 0 .25rem; }
p { margin: .25rem 0 1rem; max-width: 75ch; color: var(--soft); }
nav a { margin-right: 1rem; white-space: nowrap; color: inherit; }
.grid { display: grid; gap: 1rem; grid-template-columns: repeat(auto-fill, minmax(max(200px, (100% - (var(--columns) - 1) * 1rem) / var(--columns)), 1fr)); }
figure { margin: 0; background: var(--card); border: 1px solid var(--line); border-radius: 10px; overflow: hidden; display: flex; flex-direction: column; }
.frame { aspect-ratio: 1; overflow: hidden; display: flex; align-items: center; justify-content: center; background: var(--code); border-bottom: 1px solid var(--line); }
.frame img { max-width: 100%; max-height: 100%; display: block; }
.clear { background: repeating-conic-gradient(var(--check) 0 25%, var(--code) 0 50%) 0 0 / 20px 20px; }
.detail img { width: 100%; height: 100%; object-fit: cover; transform: scale(3); }
.pair { display: grid; grid-template: 100% / 100%; }
.part { grid-area: 1 / 1; width: 100%; height: 100%; overflow: hidden; display: flex; align-items: center; justify-content: center; clip-path: inset(0 calc(100% - var(--at, 50%)) 0 0); }
.part + .part { clip-path: inset(0 0 0 var(--at, 50%)); }
.wide { grid-column: span 2; }
.wide .frame { aspect-ratio: auto; }
.wide .detail { aspect-ratio: 16 / 9; }
.pixels img { max-width: none; max-height: none; flex: none; }
.slide { display: block; padding: .5rem .8rem 0; color: var(--soft); font-size: .85rem; }
.slide input { width: 100%; accent-color: #7c3aed; }
@media (max-width: 640px) { .wide { grid-column: auto; } }
figcaption { padding: .6rem .8rem .8rem; }
figcaption b { font-weight: 600; }
.time { color: var(--soft); font-size: .85rem; display: block; font-variant-numeric: tabular-nums; }
code { display: block; margin-top: .4rem; padding: .4rem .5rem; background: var(--code); border-radius: 6px; font: .74rem/1.45 ui-monospace, monospace; }
code span { display: inline-block; max-width: 100%; overflow-wrap: anywhere; }
</style>
</head>
<body>
<main>
)html";

// Each slider moves the edge between its two pictures.
constexpr std::string_view kEnd = R"html(</main>
<script>
for (const slider of document.querySelectorAll('.slide input')) {
  const show = () => slider.closest('figure').style.setProperty('--at', slider.value + '%');
  slider.addEventListener('input', show);
  show();
}
</script>
</body>
</html>
)html";

std::string escaped(std::string_view text) {
  std::string result;
  for (const char c : text) {
    switch (c) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      case '"':
        result += "&quot;";
        break;
      default:
        result += c;
    }
  }
  return result;
}

std::string base64(const Bytes& bytes) {
  constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (size_t i = 0; i < bytes.size(); i += 3) {
    const size_t have = std::min<size_t>(3, bytes.size() - i);
    uint32_t group = 0;
    for (size_t j = 0; j < 3; ++j) group = group << 8 | (j < have ? bytes[i + j] : 0u);
    for (size_t j = 0; j < 4; ++j) text += j <= have ? kDigits[group >> (18 - 6 * j) & 63] : '=';
  }
  return text;
}

// Words stay whole, as a line must not end within an option; long paths break between their parts.
std::string command_html(const std::string& command) {
  std::string html;
  std::istringstream words(command);
  for (std::string word; words >> word;) {
    html += "<span>";
    for (const char c : escaped(word)) {
      html += c;
      if (c == '/' || c == '_') html += "<wbr>";
    }
    html += "</span> ";
  }
  return "<code>" + html + "</code>";
}

std::string anchor_of(const Section& section) {
  std::string anchor = escaped(section.title);
  std::replace(anchor.begin(), anchor.end(), ' ', '-');
  return anchor;
}

std::string image_html(const Figure& figure, const std::string& file, const std::string& text) {
  const Bytes picture = read_file(file);
  std::ostringstream html;
  html << "<img alt=\"" << escaped(text) << '"';
  if (figure.detail) {
    for (const char* property : {" style=\"object-position: ", "; transform-origin: "}) {
      html << property << figure.detail_x << "% " << figure.detail_y << '%';
    }
    html << '"';
  }
  html << " src=\"data:image/" << (is_png(picture) ? "png" : "jpeg") << ";base64,"
       << base64(picture) << "\">";
  return html.str();
}

std::string figure_html(const Figure& figure) {
  const bool pair = !figure.before.empty();
  std::ostringstream html;
  html << "<figure" << (pair ? " class=\"wide\"" : "") << "><div class=\"frame"
       << (figure.transparent ? " clear" : "") << (figure.detail ? " detail" : "")
       << (figure.full_size ? " pixels" : "") << (pair ? " pair" : "") << "\">";
  if (pair) {
    html << "<div class=\"part\">" << image_html(figure, figure.before, "Before")
         << "</div><div class=\"part\">" << image_html(figure, figure.picture, "After") << "</div>";
  } else {
    html << image_html(figure, figure.picture, figure.caption);
  }
  html << "</div>";
  if (pair) {
    html << "<label class=\"slide\">Before | after<input type=\"range\" min=\"0\" max=\"100\" "
            "value=\"50\"></label>";
  }
  html << "<figcaption><b>" << escaped(figure.caption) << "</b>";
  if (!figure.time.empty()) html << "<span class=\"time\">" << escaped(figure.time) << "</span>";
  if (!figure.command.empty()) html << command_html(figure.command);
  html << "</figcaption></figure>\n";
  return html.str();
}

}  // namespace

std::string demo_page(const std::vector<Section>& sections) {
  std::string html(kHead);
  html += "<h1>Morvik demo</h1>\n<p>" + escaped(qxMorvik_version()) +
          ". Every picture without a command is an input. Times are those of the machine that made "
          "this page, the fastest of three runs: of the whole way from file to file, then of the "
          "library's calls in it.</p>\n<nav>";
  for (const Section& section : sections) {
    html += "<a href=\"#" + anchor_of(section) + "\">" + escaped(section.title) + "</a> ";
  }
  html += "</nav>\n";
  for (const Section& section : sections) {
    html += "<h2 id=\"" + anchor_of(section) + "\">" + escaped(section.title) + "</h2>\n<p>" +
            escaped(section.text) +
            "</p>\n<div class=\"grid\" style=\"--columns: " + std::to_string(section.columns) +
            "\">\n";
    for (const Figure& figure : section.figures) html += figure_html(figure);
    html += "</div>\n";
  }
  return html + std::string(kEnd);
}

}  // namespace tool
