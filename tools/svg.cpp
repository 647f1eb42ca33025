#include "svg.h"

#include <algorithm>
#include <cstdio>

#include "utf8.h"

namespace ambielf::tools {

namespace {

// With at most one digit behind the point.
std::string number(double value) {
  char place[32];
  const int count = std::snprintf(place, sizeof place, "%.1f", value);
  std::string text(place, static_cast<size_t>(count));
  if (text.back() == '0') text.resize(text.size() - 2);
  return text;
}

}  // namespace

std::string shortened(std::string_view name, size_t most) {
  size_t end = 0;
  for (; most != 0 && end < name.size(); --most) {
    end += std::max<size_t>(1, utf8_sequence(name.substr(end)));
  }
  std::string text(name.substr(0, end));
  if (end < name.size()) text += "...";
  return text;
}

void Svg::rectangle(double x, double y, double width, double height, std::string_view style,
                    std::string_view tooltip) {
  body_ += "<rect";
  attribute("x", x).attribute("y", y).attribute("width", width).attribute("height", height);
  attribute("class", style);
  body_ += "><title>";
  escaped(tooltip);
  body_ += "</title></rect>\n";
}

void Svg::text(double x, double y, std::string_view text, std::string_view style) {
  body_ += "<text";
  attribute("x", x).attribute("y", y);
  if (!style.empty()) attribute("class", style);
  body_ += '>';
  escaped(text);
  body_ += "</text>\n";
}

void Svg::print(Output& out, double width, double height, std::string_view css) const {
  const std::string w = number(width), h = number(height);
  out.text("<svg xmlns=\"http://www.w3.org/2000/svg\" xml:space=\"preserve\" width=\"")
      .text(w)
      .text("\" height=\"")
      .text(h);
  out.text("\" viewBox=\"0 0 ").text(w).character(' ').text(h).text("\">\n<style>\n").text(css);
  out.text("</style>\n").text(body_).text("</svg>\n");
}

Svg& Svg::attribute(std::string_view name, double value) { return attribute(name, number(value)); }

Svg& Svg::attribute(std::string_view name, std::string_view value) {
  body_.append(" ").append(name).append("=\"").append(value).append("\"");
  return *this;
}

Svg& Svg::escaped(std::string_view text) {
  std::string visible;
  append_visible(visible, text);
  for (std::string_view rest = visible; !rest.empty();) {
    const size_t size = utf8_sequence(rest);
    const std::string_view character = rest.substr(0, std::max<size_t>(1, size));
    const bool has_no_place = character == "\xef\xbf\xbe" || character == "\xef\xbf\xbf";  // not in XML
    if (size == 0) {
      body_.append("&#").append(std::to_string(static_cast<unsigned char>(rest[0]))).append(";");
    } else if (character == "<" || character == ">" || character == "&") {
      body_.append(character == "<" ? "&lt;" : character == ">" ? "&gt;" : "&amp;");
    } else {
      body_.append(has_no_place ? "?" : character);
    }
    rest.remove_prefix(character.size());
  }
  return *this;
}

}  // namespace ambielf::tools
