// Sources for twins. They hold most of what debug information describes, and nothing of which compilers make
// different code or other numbers by byte order: bit fields lie as far from one end of their word as from the
// other, and no value is wider than a register.
#ifndef AMBIELF_TESTS_SUPPORT_TWIN_SOURCES_H
#define AMBIELF_TESTS_SUPPORT_TWIN_SOURCES_H

namespace ambielf::test {

inline constexpr char twin_source_c[] = R"(
typedef struct node {
  struct node *next;
  unsigned : 8;
  unsigned middle : 16;
  unsigned : 8;
  union { int number; int *pointer; } u;
  struct { short pair[2]; char text[12]; } inner;
} node;
enum color { red, green = 1000, blue = -3 };
typedef int (*visitor)(node *, enum color, const char *, ...);
static const long long big_constant = 0x123456789abcdefLL;
static volatile int table[7][3];
long double unused_long_double(long double *x);
const long long *constant(void) { return &big_constant; }
static inline int twice(int x) { int y = x * 2; return y + table[x & 3][1]; }
int walk(node *list, visitor visit, int scale) {
  int sum = 0;
  for (node *n = list; n; n = n->next) {
    int value = twice(n->u.number) + scale;
    if (value > 17 && visit(n, green, "text", value)) {
      int local[40];
      for (int i = 0; i < 40; ++i) local[i] = i * value;
      sum += local[value & 31];
    } else {
      switch (value) { case 1: sum += twice(3); break; case 2: sum ^= 5; break; case 3: sum -= scale; break; default: return n->u.number; }
    }
    table[value & 1][2] = sum;
  }
  return sum;
}
int gather(int count, ...) {
  __builtin_va_list list;
  __builtin_va_start(list, count);
  int sum = 0;
  while (count-- > 0) sum += twice(__builtin_va_arg(list, int));
  __builtin_va_end(list);
  return sum;
}
)";

// C++17.
inline constexpr char twin_source_cpp[] = R"(
namespace shapes {
struct Base { virtual int area() const = 0; static int count; protected: unsigned : 12; unsigned tag : 8; unsigned : 12; };
template <class T, int N> struct Array { T items[N]; T &operator[](int i) { return items[i]; } };
template <class... A> int total(A... a) { return (0 + ... + a); }
class Square final : public Base { public: explicit Square(int s) : side(s) {} int area() const override; private: int side; };
int Square::area() const { return side * side; }
enum class Kind : unsigned { a = 1, b = 200 };
union Value { int i; float f; Kind k; };
}
using shapes::Array;
extern int sink(const void *);
int use(int n) {
  Array<shapes::Value, 5> values;
  Array<int, 3> wide{{1, 2, n}};
  auto add = [&values, n](int x) mutable { n += x; values[1].i = n; return n * 3; };
  shapes::Square square(n);
  int result = add(n) + square.area() + shapes::total(n, 2, 3) + wide[2];
  for (int i = 0; i < n; ++i) result ^= add(i) + sink(&values);
  return result;
}
)";

}  // namespace ambielf::test

#endif
