// OneOrMany: a list of owners that mostly holds one, without a block of its own for that.
//
// An object has thousands of sections and each section as a rule one block of contents, so what a list of one
// costs is what walking an object costs.
#ifndef AMBIELF_FRAME_ONE_OR_MANY_H
#define AMBIELF_FRAME_ONE_OR_MANY_H

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace ambielf {

// `Owner` is a pointer type that is never null in the list. Adding may move the elements.
template <class Owner>
class OneOrMany {
 public:
  size_t size() const { return many_ ? many_->size() : one_ ? 1 : 0; }
  bool empty() const { return size() == 0; }
  const Owner* begin() const { return many_ ? many_->data() : &one_; }
  const Owner* end() const { return begin() + size(); }
  const Owner& operator[](size_t index) const { return begin()[index]; }
  auto* only() const { return one_.get(); }
  auto* first() const { return empty() ? nullptr : begin()->get(); }
  const Owner& front() const { return *begin(); }
  const Owner& back() const { return end()[-1]; }

  void push_back(Owner element) {
    if (empty()) {
      one_ = std::move(element);
      return;
    }
    if (!many_) {
      auto many = std::make_unique<std::vector<Owner>>();
      many->reserve(2);
      many->push_back(std::move(one_));
      many_ = std::move(many);
    }
    many_->push_back(std::move(element));
  }

 private:
  Owner one_;                                 // the only element, or null
  std::unique_ptr<std::vector<Owner>> many_;  // all elements where they are more
};

}  // namespace ambielf

#endif
