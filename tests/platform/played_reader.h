#pragma once

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "filter/platform/file_reader_filter.h"
#include "module/frame_test.h"
#include "module/host_graph.h"

namespace kt::test {

/// A reader in a graph of the platform, with a sink on each pin.
class PlayedReader : public HostGraph {
 public:
  /// Adds the reader, and loads `name`.
  explicit PlayedReader(const std::wstring& name) : m_reader(nullptr) {
    EXPECT_EQ(Create(), S_OK);
    EXPECT_EQ(m_builder->AddFilter(&*m_reader, L"Reader"), S_OK);
    EXPECT_EQ(m_reader->Load(name.c_str(), nullptr), S_OK);
  }
  ~PlayedReader() { EXPECT_TRUE(SUCCEEDED(m_control->Stop())); }

  /// A sink on each pin, which takes the offered type at `position`.
  void Connect(int position = 0) {
    for (ULONG i = 0; CBasePin* const pin = m_reader->GetPin(i); ++i) {
      CMediaType type;
      EXPECT_EQ(pin->GetMediaType(position, &type), S_OK);
      auto sink = std::make_unique<Held<CRecordingSink>>();
      EXPECT_EQ(m_builder->AddFilter(&**sink, nullptr), S_OK);
      EXPECT_EQ(m_builder->ConnectDirect(pin, &(*sink)->Pin(), &type), S_OK);
      m_sinks.push_back(std::move(sink));
    }
  }
  CRecordingPin& Sink(std::size_t index) { return (*m_sinks[index])->Pin(); }
  /// All sinks have been told of so many ends.
  bool Ends(std::size_t count) {
    return Eventually([&] {
      return std::ranges::all_of(
          m_sinks, [&](const auto& sink) { return (*sink)->Pin().Count(SinkEvent::EndOfStream) == count; });
    });
  }
  CMP4FileReaderFilter& Reader() { return *m_reader; }

 private:
  Held<CMP4FileReaderFilter> m_reader;
  std::vector<std::unique_ptr<Held<CRecordingSink>>> m_sinks;
};

}  // namespace kt::test
