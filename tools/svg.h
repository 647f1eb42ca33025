// Svg: a picture as SVG text (W3C, SVG 1.1), collected in memory because its height is known at the end.
#ifndef AMBIELF_TOOLS_SVG_H
#define AMBIELF_TOOLS_SVG_H

#include <cstddef>
#include <string>
#include <string_view>

#include "output.h"

namespace ambielf::tools {

// The first `most` characters of a name from a file, with a mark behind them if there are more.
std::string shortened(std::string_view name, size_t most);

class Svg {
 public:
  // Lengths are pixels, y grows downwards. A style is the name of a CSS class. Texts may hold any bytes: control
  // characters become ^A and so on, a byte that is not part of a UTF-8 sequence the character with its number.
  void rectangle(double x, double y, double width, double height, std::string_view style,
                 std::string_view tooltip);
  // `y` is the text's base line.
  void text(double x, double y, std::string_view text, std::string_view style = {});

  // Adds what another picture has.
  void append(const Svg& other) { body_ += other.body_; }
  // Bytes so far.
  size_t size() const { return body_.size(); }
  // Prints the whole picture; `css` has the styles.
  void print(Output& out, double width, double height, std::string_view css) const;

 private:
  Svg& attribute(std::string_view name, double value);
  Svg& attribute(std::string_view name, std::string_view value);
  Svg& escaped(std::string_view text);

  std::string body_;
};

}  // namespace ambielf::tools

#endif
