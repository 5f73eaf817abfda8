#pragma once

#include <string_view>
#include <utility>
#include <vector>

#include "support/box_writer.h"

namespace kt::test {

// The boxes of a track, each from its records. What has times is written in version 0.

/// A table: its count and its records.
inline Bytes TableBox(std::string_view code, std::size_t count, const Bytes& records) {
  return FullBox(code, 0, 0, Bytes().U32(count).Add(records));
}

/// The same with each record as a row of fields.
inline Bytes Table(std::string_view code, const std::vector<std::vector<u32>>& records) {
  Bytes payload;
  for (const std::vector<u32>& record : records) {
    for (const u32 field : record) payload.U32(field);
  }
  return TableBox(code, records.size(), payload);
}

/// A table of runs: sample count and value.
inline Bytes RunTable(std::string_view code, const std::vector<std::pair<u32, u32>>& runs) {
  Bytes records;
  for (const auto& [count, value] : runs) records.U32s({count, value});
  return TableBox(code, runs.size(), records);
}

inline Bytes NumberTable(std::string_view code, const std::vector<u64>& numbers, bool wide = false) {
  Bytes records;
  for (const u64 number : numbers) wide ? records.U64(number) : records.U32(number);
  return TableBox(code, numbers.size(), records);
}

inline Bytes Stts(const std::vector<std::pair<u32, u32>>& runs) {
  return RunTable("stts", runs);
}
inline Bytes Ctts(const std::vector<std::pair<u32, u32>>& runs) {
  return RunTable("ctts", runs);
}
inline Bytes Stss(const std::vector<u64>& samples) {
  return NumberTable("stss", samples);
}
inline Bytes Stco(const std::vector<u64>& offsets) {
  return NumberTable("stco", offsets);
}
inline Bytes Co64(const std::vector<u64>& offsets) {
  return NumberTable("co64", offsets, true);
}

/// Runs of chunks: first chunk and samples per chunk.
inline Bytes Stsc(const std::vector<std::pair<u32, u32>>& runs) {
  Bytes records;
  for (const auto& [firstChunk, samples] : runs) records.U32s({firstChunk, samples, 1});
  return TableBox("stsc", runs.size(), records);
}

inline Bytes Stsz(const std::vector<u64>& sizes) {
  Bytes payload = Bytes().U32(0).U32(sizes.size());
  for (const u64 size : sizes) payload.U32(size);
  return FullBox("stsz", 0, 0, payload);
}
inline Bytes ConstantStsz(u32 size, u32 count) {
  return FullBox("stsz", 0, 0, Bytes().U32(size).U32(count));
}

/// Edits: duration in movie ticks and media time.
inline Bytes Edts(const std::vector<std::pair<u32, i32>>& edits) {
  Bytes records;
  for (const auto& [duration, mediaTime] : edits) {
    records.U32(duration).U32(static_cast<u32>(mediaTime)).U16(1).U16(0);
  }
  return Box("edts", {TableBox("elst", edits.size(), records)});
}

inline Bytes Mvhd(u32 timeScale, u32 creationTime = 0) {
  return FullBox("mvhd", 0, 0, Bytes().U32(creationTime).U32(0).U32(timeScale).Zeros(84));
}
inline Bytes Tkhd(u32 id, u32 width, u32 height, u32 duration) {
  return FullBox("tkhd", 0, 1,
                 Bytes().U32s({0, 0, id, 0, duration}).Zeros(52).U32(width << 16).U32(height << 16));
}
inline Bytes Mdhd(u32 timeScale, u32 duration, u32 creationTime = 0) {
  return FullBox("mdhd", 0, 0, Bytes().U32s({creationTime, 0, timeScale, duration, 0}));
}
inline Bytes Hdlr(std::string_view handlerType, std::string_view name = {}) {
  return FullBox("hdlr", 0, 0, Bytes().U32(0).Text(handlerType).Zeros(12).Text(name).U8(0));
}
inline Bytes Vmhd() {
  return FullBox("vmhd", 0, 1, Bytes().Zeros(8));
}
inline Bytes Smhd() {
  return FullBox("smhd", 0, 0, Bytes().Zeros(4));
}
inline Bytes Nmhd() {
  return FullBox("nmhd", 0, 0);
}
inline Bytes Udta(std::initializer_list<Bytes> children) {
  return Box("udta", children);
}
/// A copyright notice in three letters' language.
inline Bytes Cprt(std::string_view language, std::string_view notice) {
  u32 packed = 0;
  for (const char letter : language) packed = packed << 5 | (static_cast<u8>(letter) - 0x60u);
  return FullBox("cprt", 0, 0, Bytes().U16(packed).Text(notice).U8(0));
}

}  // namespace kt::test
