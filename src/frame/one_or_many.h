// OneOrMany: a list of owners that usually has one element, which needs no allocation.
//
// An object may have thousands of sections, and each usually has one block of contents. With a vector for each list,
// reading all sections of a file takes 16% longer.
#ifndef AMBIELF_FRAME_ONE_OR_MANY_H
#define AMBIELF_FRAME_ONE_OR_MANY_H

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace ambielf {

// `Owner` is a smart pointer, never null in the list. Adding an element may move the others.
template <class Owner>
class OneOrMany {
 public:
  size_t size() const { return many_ ? many_->size() : one_ ? 1 : 0; }
  bool empty() const { return size() == 0; }
  const Owner* begin() const { return many_ ? many_->data() : &one_; }
  const Owner* end() const { return begin() + size(); }
  const Owner& operator[](size_t index) const { return begin()[index]; }
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
  Owner one_;                                 // the element of a list of one, else null
  std::unique_ptr<std::vector<Owner>> many_;  // all elements of a longer list, else null
};

}  // namespace ambielf

#endif
