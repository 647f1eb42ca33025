// The same walks with LLVM's object library, and the number of entries that it finds in debug information.
#include <llvm/DebugInfo/DWARF/DWARFContext.h>
#include <llvm/Object/ELFObjectFile.h>

#include "debug_input.h"
#include "inputs.h"

namespace ambielf::bench {
namespace {

template <class Items>
void name_all(const Items& items, size_t count) {
  size_t named = 0;
  for (const auto& item : items) {
    auto name = item.getName();
    if (!name) llvm::consumeError(name.takeError());
    benchmark::DoNotOptimize(name->data());
    ++named;
  }
  demand(named + 1 >= count, "llvm");
}

llvm::object::OwningBinary<llvm::object::ObjectFile> open(const TempFile& file) {
  return llvm::cantFail(llvm::object::ObjectFile::createObjectFile(file.path()));
}

const bool added = [] {
  for (const ByteOrder order : both_orders) {
    add(std::string("sections/llvm/") + relation_of(order), [=](benchmark::State& state) {
      const InputFile& input = many_sections(order, 60'000);
      for (auto _ : state) name_all(open(input.file).getBinary()->sections(), 60'000);
    });
    add(std::string("symbols/llvm/") + relation_of(order), [=](benchmark::State& state) {
      const InputFile& input = many_symbols(order, 1'000'000);
      for (auto _ : state) name_all(open(input.file).getBinary()->symbols(), 1'000'000);
    });
  }
  return true;
}();

}  // namespace

size_t entries_of(const Bytes& object) {
  const llvm::StringRef bytes(reinterpret_cast<const char*>(object.data()), object.size());
  const auto file = llvm::cantFail(llvm::object::ObjectFile::createObjectFile({bytes, "debug"}));
  const std::unique_ptr<llvm::DWARFContext> context = llvm::DWARFContext::create(*file);
  size_t entries = 0;
  for (const auto& unit : context->compile_units()) {
    unit->getNonSkeletonUnitDIE(false);
    entries += unit->getNumDIEs();
  }
  return entries;
}

}  // namespace ambielf::bench
