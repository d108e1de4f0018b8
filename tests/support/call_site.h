// One call of an export as a test sees it: inputs placed so that no access outside them goes
// unnoticed, outputs that begin as garbage, and everything the call wrote.
#pragma once

#if defined(__linux__)
#include <sys/mman.h>
#endif

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <span>

#include "values.h"
#include "zolt_fitting_engine.h"

// Plain storage with its size pair. Storage that is empty under a length above 0 is handed over as
// a null pointer.
template <class Element>
struct Sized {
  std::vector<Element> values;
  std::array<std::int32_t, 2> size{1, 0};

  Sized() = default;
  Sized(std::vector<Element> row)
      : values(std::move(row)), size{1, static_cast<std::int32_t>(values.size())} {}
  std::size_t length() const {
    return values.empty() || size[1] < 0 ? 0 : static_cast<std::size_t>(size[1]);
  }
};
using Array = Sized<double>;
using Flags = Sized<std::int32_t>;

enum class Placement {
  shared,   // inputs where the test has them, for threads that share them
  heap,     // blocks of exactly the size, for the address sanitizer
  guarded,  // blocks that end where an unmapped page begins, on Linux; inputs are read-only
};

// Storage of a number of bytes.
class Block {
 public:
  Block(std::size_t bytes, [[maybe_unused]] bool guarded) : length(bytes) {
#if defined(__linux__)
    if (guarded) {
      pages = (bytes + kPage - 1) / kPage * kPage;
      mapping =
          mmap(nullptr, pages + kPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
      if (mapping == MAP_FAILED ||
          mprotect(static_cast<unsigned char*>(mapping) + pages, kPage, PROT_NONE) != 0) {
        std::perror("no guard page");
        std::abort();
      }
      first = static_cast<unsigned char*>(mapping) + (pages - bytes);
      return;
    }
#endif
    first = static_cast<unsigned char*>(std::malloc(bytes));
  }
  Block(const Block&) = delete;
  Block& operator=(const Block&) = delete;
  ~Block() {
#if defined(__linux__)
    if (mapping != nullptr) {
      munmap(mapping, pages + kPage);
      return;
    }
#endif
    std::free(first);
  }
  void makeReadOnly() {
#if defined(__linux__)
    if (mapping != nullptr && pages > 0) {
      mprotect(mapping, pages, PROT_READ);
    }
#endif
  }

  unsigned char* first = nullptr;
  std::size_t length;

 private:
#if defined(__linux__)
  static constexpr std::size_t kPage = 4096;
  void* mapping = nullptr;
  std::size_t pages = 0;
#endif
};

class CallSite {
 public:
  using Bytes = std::span<const unsigned char>;
  enum class Holds { doubles, integers, sizePair };

  // `capacity` is that of output records, whose storage is the test's until they outgrow it.
  CallSite(Placement place, unsigned char garbageByte, std::int32_t capacity = 0)
      : placement(place), garbage(garbageByte), recordCapacity(capacity) {}
  CallSite(const CallSite&) = delete;
  CallSite& operator=(const CallSite&) = delete;
  ~CallSite() {
    for (const auto& release : releases) {
      release();
    }
  }

  template <class T>
  const T* in(std::span<const T> values) {
    if (placement == Placement::shared || (placement == Placement::heap && values.empty())) {
      return values.data();
    }
    Block& block = newBlock(values.size_bytes());
    if (!values.empty()) {
      std::memcpy(block.first, values.data(), values.size_bytes());
    }
    block.makeReadOnly();
    checks.push_back([&block, values] {
      return values.empty() || std::memcmp(block.first, values.data(), values.size_bytes()) == 0;
    });
    return reinterpret_cast<const T*>(block.first);
  }
  const double* in(const Vector& values) { return in(std::span(values)); }
  template <class Element>
  const Element* in(const Sized<Element>& row) {
    return row.values.empty() && row.size[1] > 0 ? nullptr : in(std::span(row.values));
  }
  template <class Element>
  const std::int32_t* sizeOf(const Sized<Element>& row) {
    return in(std::span<const std::int32_t>(row.size));
  }
  const emxArray_real_T* inRecord(const Vector& values) {
    // A wrapper has no constant form; nothing writes through it.
    auto* data = const_cast<double*>(in(values));
    const auto length = static_cast<std::int32_t>(values.size());
    auto* record = ZOLTA_emxCreateWrapper_real_T(data, 1, length);
    releases.push_back([record] { release(record); });
    checks.push_back([=] {
      return record->data == data && record->size[0] == 1 && record->size[1] == length &&
             record->allocatedSize == length && record->numDimensions == 2 && !record->canFreeData;
    });
    return record;
  }

  template <class T>
  T* out(std::size_t count) {
    return storage<T>(count, std::is_same_v<T, double> ? Holds::doubles : Holds::integers);
  }
  std::int32_t* outSize() { return storage<std::int32_t>(2, Holds::sizePair); }
  emxArray_real_T* realRecord() {
    auto* data = recordStorage<double>();
    return outRecord(ZOLTA_emxCreateWrapper_real_T(data, 1, recordCapacity), Holds::doubles);
  }
  emxArray_int32_T* wholeRecord() {
    auto* data = recordStorage<std::int32_t>();
    return outRecord(ZOLTA_emxCreateWrapper_int32_T(data, 1, recordCapacity), Holds::integers);
  }

  // The elements of output k, in the order in which the outputs were made.
  Vector real(std::size_t k) const { return values<double>(k); }
  Whole whole(std::size_t k) const { return values<std::int32_t>(k); }
  Holds holds(std::size_t k) const { return outputs.at(k).holds; }
  std::size_t count() const { return outputs.size(); }

  // All outputs as bytes, with the sizes of the records.
  std::vector<unsigned char> written() const {
    std::vector<unsigned char> all;
    for (const Output& output : outputs) {
      for (const Bytes bytes : {Bytes(output.sizeBytes), output.bytes()}) {
        all.insert(all.end(), bytes.begin(), bytes.end());
      }
    }
    return all;
  }

  bool inputsUntouched() const {
    return std::all_of(checks.begin(), checks.end(), [](const auto& holds) { return holds(); });
  }

  template <class Record>
  static void release(Record* record) {
    if (record->canFreeData) {
      std::free(record->data);
    }
    std::free(record->size);
    std::free(record);
  }

 private:
  struct Output {
    Holds holds;
    std::function<Bytes()> bytes;
    Bytes sizeBytes;
  };

  Block& newBlock(std::size_t bytes) {
    blocks.push_back(std::make_unique<Block>(bytes, placement == Placement::guarded));
    return *blocks.back();
  }
  template <class T>
  Block& garbageFor(std::size_t count) {
    Block& block = newBlock(count * sizeof(T));
    std::fill_n(block.first, block.length, garbage);
    return block;
  }
  template <class T>
  T* storage(std::size_t count, Holds holds) {
    const Block& block = garbageFor<T>(count);
    outputs.push_back({holds, [&block] { return Bytes(block.first, block.length); }, {}});
    return reinterpret_cast<T*>(block.first);
  }
  template <class T>
  T* recordStorage() {
    return reinterpret_cast<T*>(garbageFor<T>(static_cast<std::size_t>(recordCapacity)).first);
  }
  template <class Record>
  Record* outRecord(Record* record, Holds holds) {
    const auto elements = [record] {
      const auto count = static_cast<std::size_t>(record->size[0] * record->size[1]);
      return Bytes(reinterpret_cast<const unsigned char*>(record->data),
                   count * sizeof(*record->data));
    };
    const auto* size = reinterpret_cast<const unsigned char*>(record->size);
    outputs.push_back({holds, elements, Bytes(size, 2 * sizeof(*record->size))});
    releases.push_back([record] { release(record); });
    return record;
  }
  template <class T>
  std::vector<T> values(std::size_t k) const {
    const Bytes bytes = outputs.at(k).bytes();
    std::vector<T> row(bytes.size() / sizeof(T));
    if (!row.empty()) {
      std::memcpy(row.data(), bytes.data(), bytes.size());
    }
    return row;
  }

  Placement placement;
  unsigned char garbage;
  std::int32_t recordCapacity;
  std::vector<std::unique_ptr<Block>> blocks;
  std::vector<std::function<bool()>> checks;    // of the inputs
  std::vector<std::function<void()>> releases;  // of all records
  std::vector<Output> outputs;
};
