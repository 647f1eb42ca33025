/* A small object with something of everything: text, data, read-only strings, common and external symbols,
 * and relocations. tests/data/README.md tells how the two objects were made from it. */
extern int count_of(const char* text);

int calls;
static int limits[4] = {1, 2, 4, 8};
static const char* const greetings[2] = {"good morning", "good evening"};

const char* greeting(int hour) {
  calls += 1;
  return greetings[hour >= 12];
}

int greeting_fits(int hour, unsigned size) { return count_of(greeting(hour)) <= limits[size & 3U]; }
