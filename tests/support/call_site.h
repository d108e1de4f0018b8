// One call of an export as a test sees it: inputs placed so that no access outside them goes
// unnoticed, outputs that begin as garbage, and everything the call wrote.
#pragma once

#include <sys/mman.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <span>
#include <stdexcept>
#include <vector>

#include "zolt_fitting_engine.h"

// Plain storage with its size pair. Storage that is empty under a length above 0 is handed over as
// a null pointer.
struct Array {
  std::vector<double> values;
  std::array<std::int32_t, 2> size{1, 0};

  Array() = default;
  Array(std::vector<double> row)
      : values(std::move(row)), size{1, static_cast<std::int32_t>(values.size())} {}
  std::size_t length() const {
    return values.empty() || size[1] < 0 ? 0 : static_cast<std::size_t>(size[1]);
  }
};

struct Flags {
  std::vector<std::int32_t> values;
  std::array<std::int32_t, 2> size{1, 0};

  Flags() = default;
  Flags(std::vector<std::int32_t> row)
      : values(std::move(row)), size{1, static_cast<std::int32_t>(values.size())} {}
};

enum class Placement {
  shared,   // inputs where the test has them, for threads that share them
  heap,     // blocks of exactly the size, for the address sanitizer
  guarded,  // blocks that end where an unmapped page begins; inputs are read-only
};

// Storage of a number of bytes.
class Block {
 public:
  Block(std::size_t bytes, bool guarded) : length(bytes) {
    if (!guarded) {
      first = static_cast<unsigned char*>(std::malloc(bytes));
      return;
    }
    pages = (bytes + kPage - 1) / kPage * kPage;
    mapping =
        mmap(nullptr, pages + kPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapping == MAP_FAILED ||
        mprotect(static_cast<unsigned char*>(mapping) + pages, kPage, PROT_NONE) != 0) {
      throw std::runtime_error("no guard page");
    }
    first = static_cast<unsigned char*>(mapping) + (pages - bytes);
  }
  Block(const Block&) = delete;
  Block& operator=(const Block&) = delete;
  ~Block() {
    if (mapping == nullptr) {
      std::free(first);
    } else {
      munmap(mapping, pages + kPage);
    }
  }
  void makeReadOnly() {
    if (mapping != nullptr && pages > 0) {
      mprotect(mapping, pages, PROT_READ);
    }
  }

  unsigned char* first = nullptr;
  std::size_t length;

 private:
  static constexpr std::size_t kPage = 4096;
  void* mapping = nullptr;
  std::size_t pages = 0;
};

class CallSite {
 public:
  // `capacity` is that of output records, whose storage is the test's until they outgrow it.
  CallSite(Placement place, unsigned char garbageByte, std::size_t capacity = 0)
      : placement(place), garbage(garbageByte), recordCapacity(capacity) {}
  CallSite(const CallSite&) = delete;
  CallSite& operator=(const CallSite&) = delete;
  ~CallSite() {
    for (const Output& output : outputs) {
      release(output.real);
      release(output.integers);
    }
    for (const InputRecord& input : inputRecords) {
      release(input.record);
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
    inputs.push_back({&block, std::as_bytes(values)});
    return reinterpret_cast<const T*>(block.first);
  }
  const double* in(const std::vector<double>& values) { return in(std::span(values)); }
  const double* in(const Array& array) {
    return array.values.empty() && array.size[1] > 0 ? nullptr : in(array.values);
  }
  const std::int32_t* in(const Flags& flags) {
    return flags.values.empty() && flags.size[1] > 0 ? nullptr : in(std::span(flags.values));
  }
  template <class Row>
  const std::int32_t* size(const Row& row) {
    return in(std::span<const std::int32_t>(row.size));
  }
  const emxArray_real_T* inRecord(const std::vector<double>& values) {
    // A wrapper has no constant form; nothing writes through it.
    auto* data = const_cast<double*>(in(values));
    const auto length = static_cast<std::int32_t>(values.size());
    inputRecords.push_back({ZOLTA_emxCreateWrapper_real_T(data, 1, length), data, length});
    return inputRecords.back().record;
  }

  template <class T>
  T* out(std::size_t count) {
    Block& block = newBlock(count * sizeof(T));
    fill(block);
    outputs.push_back({&block, nullptr, nullptr});
    return reinterpret_cast<T*>(block.first);
  }
  std::int32_t* outSize() { return out<std::int32_t>(2); }
  emxArray_real_T* realRecord() {
    auto* record = ZOLTA_emxCreateWrapper_real_T(storage<double>(), 1, capacity());
    outputs.push_back({nullptr, record, nullptr});
    return record;
  }
  emxArray_int32_T* intRecord() {
    auto* record = ZOLTA_emxCreateWrapper_int32_T(storage<std::int32_t>(), 1, capacity());
    outputs.push_back({nullptr, nullptr, record});
    return record;
  }

  // The elements of output k, in the order in which the outputs were made.
  template <class T>
  std::vector<T> values(std::size_t k) const {
    const std::span<const unsigned char> bytes = bytesOf(outputs.at(k));
    std::vector<T> row(bytes.size() / sizeof(T));
    if (!row.empty()) {
      std::memcpy(row.data(), bytes.data(), bytes.size());
    }
    return row;
  }
  std::size_t count() const { return outputs.size(); }

  // All outputs as bytes, with the sizes of the records.
  std::vector<unsigned char> written() const {
    std::vector<unsigned char> all;
    for (const Output& output : outputs) {
      const auto bytes = bytesOf(output);
      const std::int32_t* size = output.real       ? output.real->size
                                 : output.integers ? output.integers->size
                                                   : nullptr;
      if (size != nullptr) {
        const auto* sizeBytes = reinterpret_cast<const unsigned char*>(size);
        all.insert(all.end(), sizeBytes, sizeBytes + 2 * sizeof(*size));
      }
      all.insert(all.end(), bytes.begin(), bytes.end());
    }
    return all;
  }

  bool inputsUntouched() const {
    for (const auto& [block, original] : inputs) {
      if (!original.empty() && std::memcmp(block->first, original.data(), original.size()) != 0) {
        return false;
      }
    }
    for (const auto& [record, data, length] : inputRecords) {
      if (record->data != data || record->size[0] != 1 || record->size[1] != length ||
          record->allocatedSize != length || record->numDimensions != 2 || record->canFreeData) {
        return false;
      }
    }
    return true;
  }

 private:
  struct Input {
    const Block* block;
    std::span<const std::byte> original;
  };
  struct InputRecord {
    emxArray_real_T* record;
    const double* data;
    std::int32_t length;
  };
  struct Output {
    const Block* block;
    emxArray_real_T* real;
    emxArray_int32_T* integers;
  };

  Block& newBlock(std::size_t bytes) {
    blocks.push_back(std::make_unique<Block>(bytes, placement == Placement::guarded));
    return *blocks.back();
  }
  void fill(Block& block) {
    if (block.length > 0) {
      std::memset(block.first, garbage, block.length);
    }
  }
  std::int32_t capacity() const { return static_cast<std::int32_t>(recordCapacity); }
  template <class T>
  T* storage() {
    Block& block = newBlock(recordCapacity * sizeof(T));
    fill(block);
    return reinterpret_cast<T*>(block.first);
  }
  template <class Record>
  static void release(Record* record) {
    if (record != nullptr) {
      if (record->canFreeData) {
        std::free(record->data);
      }
      std::free(record->size);
      std::free(record);
    }
  }
  template <class Record>
  static std::span<const unsigned char> elementsOf(const Record* record) {
    const auto count = static_cast<std::size_t>(record->size[0]) *
                       static_cast<std::size_t>(record->size[1]) * sizeof(*record->data);
    return {reinterpret_cast<const unsigned char*>(record->data), count};
  }
  static std::span<const unsigned char> bytesOf(const Output& output) {
    return output.real ? elementsOf(output.real)
           : output.integers
               ? elementsOf(output.integers)
               : std::span<const unsigned char>(output.block->first, output.block->length);
  }

  Placement placement;
  unsigned char garbage;
  std::size_t recordCapacity;
  std::vector<std::unique_ptr<Block>> blocks;
  std::vector<Input> inputs;
  std::vector<InputRecord> inputRecords;
  std::vector<Output> outputs;
};
