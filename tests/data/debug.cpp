// Much of what g++ describes in debug information. See README.md for the objects that are made of it.
namespace shapes {

struct Base {
  virtual ~Base();
  virtual int area() const = 0;
  static int count;
 protected:
  int tag : 3;
};

struct Named : virtual Base { const char *name; };

template <class T, int N>
struct Array {
  T items[N];
  T &operator[](int i) { return items[i]; }
};

template <class... A>
int total(A... a) { return (0 + ... + a); }

class Square final : public Named {
 public:
  explicit Square(int s) : side(s) {}
  int area() const override;
 private:
  int side;
  int Square::*member = &Square::side;
};

int Square::area() const { return side * this->*member + tag; }

enum class Kind : unsigned char { a = 1, b = 200 };
union Value { long long i; double f; Kind k; };

}  // namespace shapes

using shapes::Array;
extern int sink(const void *);

int use(int n) try {
  Array<shapes::Value, 5> values{};
  Array<long long, 3> wide{{1, 2, n}};
  auto add = [&values, n](int x) mutable { n += x; values[1].i = n; return n * 3; };
  shapes::Square square(n);
  int result = add(n) + square.area() + shapes::total(n, 2, 3) + static_cast<int>(wide[2]);
  for (int i = 0; i < n; ++i) result ^= add(i) + sink(&values);
  return result;
} catch (const shapes::Value &value) {
  return static_cast<int>(value.i);
}
