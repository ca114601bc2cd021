#include "fuzz/Records.h"

#include <algorithm>
#include <cstring>
#include <random>
#include <utility>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t most);

namespace quorvid::fuzz {
namespace {

constexpr std::size_t kMostBytes = 0xFFFF;
using Random = std::minstd_rand;

void changeBytes(Record& record, std::size_t most, Random& random) {
  const std::size_t size = record.bytes.size();
  record.bytes.resize(std::min(std::max<std::size_t>(size + size / 8 + 16, 1), most));
  record.bytes.resize(
      LLVMFuzzerMutate(record.bytes.data(), std::min(size, most), record.bytes.size()));
  record.bytes.shrink_to_fit();
  if (mend != nullptr && random() % 8 != 0) mend(record.bytes);
}

void change(Input& input, std::size_t most, Random& random) {
  std::vector<Record>& records = input.records;
  if (records.empty()) records.emplace_back();
  const auto pick = [&] { return random() % records.size(); };
  const std::size_t at = pick();
  switch (random() % 16) {
    case 0:
      input.head = static_cast<std::uint8_t>(random());
      break;
    case 1:
      records[at].kind = static_cast<std::uint8_t>(random());
      break;
    case 2:
      records.erase(records.begin() + static_cast<std::ptrdiff_t>(at));
      break;
    case 3:
      records.insert(records.begin() + static_cast<std::ptrdiff_t>(pick()), Record(records[at]));
      break;
    case 4:
      std::swap(records[at], records[pick()]);
      break;
    default:
      changeBytes(records[at], std::min(most, kMostBytes), random);
  }
}

}  // namespace

Input::Input(const std::uint8_t* data, std::size_t size) {
  if (size > 0) head = data[0];
  for (std::size_t at = 1; at + 3 <= size;) {
    const std::size_t stated = data[at + 1] | static_cast<std::size_t>(data[at + 2]) << 8;
    const std::uint8_t* const from = data + at + 3;
    const std::size_t length = std::min(stated, size - at - 3);
    records.push_back({data[at], {from, from + length}});
    at += 3 + length;
  }
}

std::size_t Input::writeTo(std::uint8_t* data, std::size_t room) const {
  if (room == 0) return 0;
  std::size_t at = 0;
  data[at++] = head;
  for (const auto& [kind, bytes] : records) {
    if (at + 3 + bytes.size() > room) break;
    data[at++] = kind;
    data[at++] = static_cast<std::uint8_t>(bytes.size() & 0xFF);
    data[at++] = static_cast<std::uint8_t>(bytes.size() >> 8);
    std::copy(bytes.begin(), bytes.end(), data + at);
    at += bytes.size();
  }
  return at;
}

}  // namespace quorvid::fuzz

using quorvid::fuzz::Input;

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t most, unsigned seed) {
  Input input(data, size);
  quorvid::fuzz::Random random(seed);
  for (auto changes = 1 + random() % 3; changes > 0; --changes) {
    quorvid::fuzz::change(input, most, random);
  }
  return input.writeTo(data, most);
}

// The first records of one, the last ones of the other.
extern "C" std::size_t LLVMFuzzerCustomCrossOver(const std::uint8_t* first, std::size_t firstSize,
                                                 const std::uint8_t* second, std::size_t secondSize,
                                                 std::uint8_t* out, std::size_t most,
                                                 unsigned seed) {
  Input input(first, firstSize);
  const Input other(second, secondSize);
  quorvid::fuzz::Random random(seed);
  input.records.resize(random() % (input.records.size() + 1));
  const auto from = static_cast<std::ptrdiff_t>(random() % (other.records.size() + 1));
  input.records.insert(input.records.end(), other.records.begin() + from, other.records.end());
  return input.writeTo(out, most);
}
