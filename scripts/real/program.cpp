// Throws through frames that the unwinder finds by .eh_frame_hdr or .ARM.exidx, in static and dynamic programs.
#include <iostream>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>

struct Base {
  virtual ~Base() = default;
  virtual int value(int n) const = 0;
};

struct Derived : Base {
  int value(int n) const override {
    if (n == 0) throw std::out_of_range("bottom");
    return value(n - 1) + 1;
  }
};

struct Guard {
  explicit Guard(int& count) : count(count) {}
  ~Guard() { ++count; }
  int& count;
};

int main(int argc, char** argv) {
  int unwound = 0;
  std::map<std::string, int> caught;
  for (int depth = 1; depth < 20; ++depth) {
    try {
      const Guard guard(unwound);
      const std::unique_ptr<Base> object = std::make_unique<Derived>();
      dynamic_cast<const Derived&>(*object).value(depth);
    } catch (const std::logic_error& error) {
      ++caught[error.what()];
    }
  }
  try {
    std::string(argv[argc - 1]).at(1000);
  } catch (const std::exception&) {
    ++caught["exception"];
  }
  for (const auto& [what, count] : caught) std::cout << what << ' ' << count << ' ';
  std::cout << unwound << ' ' << argv[argc - 1] << std::endl;
  return argc + 50;
}
