/* Much of what gcc describes in debug information. See README.md for the objects that are made of it. */
typedef struct node {
  struct node *next;
  unsigned low : 5;
  signed high : 11;
  union { float f; char text[12]; long long wide; } u;
} node;

enum color { red, green = 1000, blue = -3 };
typedef int (*visitor)(const node *restrict, enum color, ...);

static const long long big_constant = 0x123456789abcdefLL;
static volatile int table[7][3];
_Thread_local int per_thread;
_Complex double turn = 1.5;
double scale_of[2] = {0.5, 2.0};

static inline int twice(int x) {
  int y = x * 2;
  return y + table[x & 3][1];
}

__attribute__((noinline)) static double scaled(double by, long long times) { return by * (double)times; }

int walk(node *list, visitor visit, double scale) {
  int sum = 0;
  for (node *n = list; n; n = n->next) {
    int value = twice(n->low) + (int)(scale * n->u.f);
    if (value > 17 && visit(n, green, value, "text", big_constant)) {
      char local[value & 63];
      for (int i = 0; i < (value & 63); ++i) local[i] = (char)(i * value);
      sum += local[value & 31] + (int)scaled(scale, n->u.wide);
    }
    switch (value) {
      case 1: sum += twice(3); break;
      case 2: sum ^= 5; break;
      default: table[value & 1][2] = sum;
    }
  }
  return sum + per_thread;
}

int gather(int count, ...) {
  __builtin_va_list list;
  __builtin_va_start(list, count);
  int sum = 0;
  while (count-- > 0) sum += twice(__builtin_va_arg(list, int));
  __builtin_va_end(list);
  return sum;
}
