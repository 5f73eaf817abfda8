// Sends the hint tracks of a file as RTP over UDP. What packets to send, and when, stands in the file; a
// server has to fill them and needs to know nothing of their payload formats.
#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <random>
#include <span>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <ktmp4/hint_packets.h>
#include <ktmp4/mp4_file.h>
#include <ktmp4/mp4_hint_track.h>

namespace {

using kt::Mp4Result;
using kt::u16;
using kt::u32;
using kt::u64;
using kt::u8;
using Bytes = std::vector<u8>;

constexpr u16 kMostPort = 65535;
constexpr std::size_t kMostBytes = 65507;  // of a packet, by UDP over IPv4
constexpr double kMostRate = 1e6;
constexpr double kLongestWait = 1e9;  // in seconds; more do not fit the clock

struct Arguments {
  std::string file;
  std::string address = "127.0.0.1";
  u16 port = 5004;    // of the first stream; the others follow in steps of two
  double rate = 1.0;  // 0: as fast as it goes
};

void Require(Mp4Result result, const std::string& what) {
  if (!result) return;
  throw std::runtime_error("cannot " + what + ": " + kt::Mp4ResultName(result) + ": " +
                           kt::Mp4ResultText(result));
}

void PutBigEndian(Bytes& bytes, u64 value, unsigned width) {
  for (unsigned shift = width * 8; shift > 0; shift -= 8)
    bytes.push_back(static_cast<u8>(value >> (shift - 8)));
}

// The file that is sent.
struct Movie {
  kt::CMp4File& file;
  u64 size;  // in bytes
};

// A track of the file, with the last sample that was read from it.
class Samples {
 public:
  Samples(const Movie& movie, u32 index) : m_movie(movie) {
    Require(movie.file.OpenTrack(index, &m_track), "open track " + std::to_string(index));
  }
  Samples(const Samples&) = delete;
  Samples& operator=(const Samples&) = delete;
  ~Samples() { static_cast<void>(m_movie.file.CloseTrack(m_track)); }

  kt::CMp4Track& Track() { return *m_track; }
  Bytes& Read(u32 number) {
    if (number == m_number) return m_bytes;
    m_number = 0;
    u32 size = 0;
    Require(m_track->GetSampleSize(number, &size), "find a sample");
    // A broken file may claim any size: no memory for what the file cannot hold.
    if (size > m_movie.size) throw std::runtime_error("a sample is larger than the file");
    m_bytes.resize(size);
    if (size > 0) Require(m_track->ReadSample(number, size, &size, m_bytes.data()), "read a sample");
    m_number = number;
    return m_bytes;
  }

 private:
  Movie m_movie;
  kt::CMp4Track* m_track = nullptr;
  u32 m_number = 0;
  Bytes m_bytes;
};

// RTP and, one port above, RTCP. RFC 3550.
class Sender {
 public:
  Sender(const std::string& address, u16 port) : m_socket(socket(AF_INET, SOCK_DGRAM, 0)) {
    m_to.sin_family = AF_INET;
    m_to.sin_port = htons(port);
    if (m_socket < 0 || inet_pton(AF_INET, address.c_str(), &m_to.sin_addr) != 1) {
      throw std::runtime_error("cannot send to " + address);
    }
  }
  Sender(const Sender&) = delete;
  Sender& operator=(const Sender&) = delete;
  ~Sender() { close(m_socket); }

  u32 Source() const { return m_source; }
  void Send(const Bytes& packet) { SendTo(packet, m_to); }
  // Tells that nothing more will come: an empty report, and the farewell.
  void SayGoodbye() {
    constexpr u32 kEmptyReport = 0x80C90001, kGoodbye = 0x81CB0001;
    Bytes packet;
    for (const u32 header : {kEmptyReport, kGoodbye}) {
      PutBigEndian(packet, header, 4);
      PutBigEndian(packet, m_source, 4);
    }
    sockaddr_in to = m_to;
    to.sin_port = htons(static_cast<u16>(ntohs(m_to.sin_port) + 1));
    SendTo(packet, to);
  }

 private:
  void SendTo(const Bytes& packet, const sockaddr_in& to) {
    // That nobody listens is told of the packet before, and does not concern this one.
    for (int attempt = 0; attempt < 2; ++attempt) {
      const auto* address = reinterpret_cast<const sockaddr*>(&to);
      if (sendto(m_socket, packet.data(), packet.size(), 0, address, sizeof to) >= 0) return;
      if (errno != ECONNREFUSED)
        throw std::runtime_error(std::string("cannot send: ") + std::strerror(errno));
    }
  }

  int m_socket;
  sockaddr_in m_to = {};
  u32 m_source = std::random_device()();
};

// One hint track of the file on its way.
class Stream {
 public:
  Stream(const Movie& movie, u32 index, const std::string& address, u16 port)
      : m_index(index), m_hints(movie, index), m_sender(address, port) {
    kt::CMp4HintTrack* track = nullptr;
    Require(movie.file.OpenHintTrack(index, &track), "open it");
    const std::unique_ptr<kt::CMp4HintTrack> owner(track);
    Require(m_hints.Track().GetSampleCount(&m_count), "count the hint samples");
    Require(m_hints.Track().GetTimeScale(&m_clock), "find the RTP clock");
    if (m_clock == 0) throw std::runtime_error("it has no clock");
    u32 id = 0;
    // A hint track for RTP has one media track, or none when its own samples hold all that is sent.
    if (kt::GetReferencedTrack(track, 1, &id) == kt::MP4_OK)
      m_media = std::make_unique<Samples>(movie, IndexOf(movie, id));
    Advance();
  }

  u32 Index() const { return m_index; }
  bool IsAtEnd() const { return m_next > m_count; }
  // Leaves out what has not been sent.
  void Abandon() { m_count = 0; }
  double NextTime() const { return static_cast<double>(m_time) / m_clock; }
  u64 Packets() const { return m_packets; }

  // Sends what the next hint sample describes.
  void SendNext() {
    const Bytes sample = m_hints.Read(m_next);  // a copy: packets may take bytes from other hint samples
    kt::CHintPackets hints(sample.data(), static_cast<u32>(sample.size()));
    kt::RtpHeader header;
    Mp4Result result = kt::MP4_OK;
    for (; (result = hints.NextPacket(&header)) == kt::MP4_OK; ++m_packets)
      m_sender.Send(Build(header, hints));
    RequireEnd(result);
    ++m_next;
    Advance();
  }
  void End() { m_sender.SayGoodbye(); }

 private:
  static u32 IndexOf(const Movie& movie, u32 id) {
    u32 count = 0;
    Require(movie.file.GetTrackCount(&count), "count the tracks");
    for (u32 index = 1; index <= count; ++index) {
      u32 found = 0;
      kt::CMp4Track* track = nullptr;
      if (movie.file.OpenTrack(index, &track) != kt::MP4_OK) continue;
      const bool isIt = track->GetTrackId(&found) == kt::MP4_OK && found == id;
      static_cast<void>(movie.file.CloseTrack(track));
      if (isIt) return index;
    }
    throw std::runtime_error("there is no track with the id " + std::to_string(id) + " that can be opened");
  }

  void Advance() {
    if (!IsAtEnd()) Require(m_hints.Track().GetSampleCompositionTime(m_next, &m_time), "find a time");
  }

  static void RequireEnd(Mp4Result result) {
    if (result != kt::MP4_NOT_FOUND) Require(result, "read a hint sample");
  }

  Bytes Build(const kt::RtpHeader& header, kt::CHintPackets& hints) {
    Bytes bytes;
    bytes.push_back(static_cast<u8>(0x80 | header.padding << 5 | header.extension << 4));
    bytes.push_back(static_cast<u8>(header.marker << 7 | header.payloadType));
    PutBigEndian(bytes, header.sequenceNumber, 2);
    PutBigEndian(bytes, m_time, 4);
    PutBigEndian(bytes, m_sender.Source(), 4);
    kt::RtpPiece piece;
    Mp4Result result = kt::MP4_OK;
    while ((result = hints.NextPiece(&piece)) == kt::MP4_OK) Append(bytes, piece);
    RequireEnd(result);
    return bytes;
  }

  void Append(Bytes& packet, const kt::RtpPiece& piece) {
    if (piece.type == kt::RTP_CONSTRUCTOR_NO_OP) return;
    if (piece.type == kt::RTP_CONSTRUCTOR_IMMEDIATE) return Append(packet, {piece.bytes, piece.length});
    if (piece.type != kt::RTP_CONSTRUCTOR_SAMPLE) throw std::runtime_error("cannot follow a hint");
    Samples* const source = piece.trackReference == kt::RtpPiece::kHintTrack ? &m_hints
                            : piece.trackReference == 0                      ? m_media.get()
                                                                             : nullptr;
    if (source == nullptr) throw std::runtime_error("a hint refers to a track that is not there");
    const Bytes& sample = source->Read(piece.number);
    if (piece.offset > sample.size() || piece.length > sample.size() - piece.offset) {
      throw std::runtime_error("a hint reaches beyond its sample");
    }
    Append(packet, std::span(sample).subspan(piece.offset, piece.length));
  }
  static void Append(Bytes& packet, std::span<const u8> bytes) {
    if (bytes.size() > kMostBytes - packet.size())
      throw std::runtime_error("a packet exceeds what UDP carries");
    packet.insert(packet.end(), bytes.begin(), bytes.end());
  }

  u32 m_index;
  Samples m_hints;
  std::unique_ptr<Samples> m_media;
  Sender m_sender;
  u32 m_count = 0;
  u32 m_clock = 1;
  u32 m_next = 1;
  u64 m_time = 0;
  u64 m_packets = 0;
};

// What goes wrong with one track is told, and the others go on.
class Troubles {
 public:
  template <class Step>
  bool Survives(const std::string& what, Step step) {
    try {
      step();
      return true;
    } catch (const std::runtime_error& failure) {
      std::fprintf(stderr, "%s: %s\n", what.c_str(), failure.what());
      m_isNone = false;
      return false;
    }
  }
  bool IsNone() const { return m_isNone; }

 private:
  bool m_isNone = true;
};

std::string HintTrackName(u32 index) {
  return "hint track " + std::to_string(index);
}

std::vector<u32> HintTracks(const Movie& movie, Troubles& troubles) {
  u32 count = 0;
  Require(movie.file.GetTrackCount(&count), "count the tracks");
  std::vector<u32> found;
  for (u32 index = 1; index <= count; ++index) {
    troubles.Survives("track " + std::to_string(index), [&] {
      u32 kind = 0;
      Require(Samples(movie, index).Track().GetTrackType(&kind), "find its kind");
      if (kind == kt::MP4_KIND_HINT) found.push_back(index);
    });
  }
  if (found.empty()) throw std::runtime_error("there is no hint track");
  return found;
}

using Streams = std::vector<std::unique_ptr<Stream>>;

Streams OpenStreams(const Movie& movie, const Arguments& arguments, Troubles& troubles) {
  Streams streams;
  u32 port = arguments.port;
  for (const u32 index : HintTracks(movie, troubles)) {
    if (port >= kMostPort) throw std::runtime_error("there are not enough ports from the first one on");
    troubles.Survives(HintTrackName(index), [&] {
      streams.push_back(std::make_unique<Stream>(movie, index, arguments.address, static_cast<u16>(port)));
    });
    port += 2;  // also of one that cannot be sent: the session description gives each hint track its ports
  }
  return streams;
}

bool Send(const Movie& movie, const Arguments& arguments) {
  using Clock = std::chrono::steady_clock;
  Troubles troubles;
  const Streams streams = OpenStreams(movie, arguments, troubles);
  const Clock::time_point begin = Clock::now();
  for (;;) {
    Stream* next = nullptr;
    for (const auto& stream : streams) {
      if (!stream->IsAtEnd() && (next == nullptr || stream->NextTime() < next->NextTime()))
        next = stream.get();
    }
    if (next == nullptr) break;
    if (arguments.rate > 0) {
      const std::chrono::duration<double> wait(std::min(next->NextTime() / arguments.rate, kLongestWait));
      std::this_thread::sleep_until(begin + std::chrono::duration_cast<Clock::duration>(wait));
    }
    if (!troubles.Survives(HintTrackName(next->Index()), [&] { next->SendNext(); })) next->Abandon();
  }
  // A farewell that a receiver finds beside packets which it has not looked at yet would end them.
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  u64 packets = 0;
  for (const auto& stream : streams) {
    troubles.Survives(HintTrackName(stream->Index()), [&] { stream->End(); });
    packets += stream->Packets();
  }
  std::fprintf(stderr, "%llu packets sent\n", static_cast<unsigned long long>(packets));
  return troubles.IsNone();
}

// The whole word as a number from `least` to `most`.
template <class Number>
bool ParseNumber(const std::string& word, Number least, Number most, Number& number) {
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
  return error == std::errc() && end == word.data() + word.size() && number >= least && number <= most;
}

bool Parse(int argc, char** argv, Arguments& arguments) {
  for (int at = 1; at < argc; ++at) {
    const std::string word = argv[at];
    const bool hasValue = at + 1 < argc;
    if (word == "--rate" && hasValue) {
      if (!ParseNumber(argv[++at], 0.0, kMostRate, arguments.rate)) return false;
    } else if (word == "--port" && hasValue) {
      if (!ParseNumber<u16>(argv[++at], 1, kMostPort - 1, arguments.port)) return false;
    } else if (word == "--to" && hasValue) {
      arguments.address = argv[++at];
    } else if (arguments.file.empty() && !word.starts_with("--")) {
      arguments.file = word;
    } else {
      return false;
    }
  }
  return !arguments.file.empty();
}

}  // namespace

int main(int argc, char** argv) {
  Arguments arguments;
  if (!Parse(argc, argv, arguments)) {
    std::fprintf(stderr,
                 "rtp_send [--to ADDRESS] [--port N] [--rate R] FILE\n"
                 "  --to    an IPv4 address [127.0.0.1]\n"
                 "  --port  of the first hint track; the others follow in twos [5004]\n"
                 "  --rate  1 sends by the time stamps, 2 twice as fast, 0 as fast as it goes [1]\n");
    return 2;
  }
  try {
    kt::CMp4File* made = nullptr;
    Require(kt::CreateMp4File(&made), "make a file object");
    const std::unique_ptr<kt::CMp4File> file(made);
    Require(file->Open(arguments.file.c_str(), kt::MP4_MODE_READ, kt::MP4_TYPE_MP4), "open the file");
    return Send({*file, std::filesystem::file_size(arguments.file)}, arguments) ? 0 : 1;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s: %s\n", arguments.file.c_str(), failure.what());
    return 1;
  }
}
