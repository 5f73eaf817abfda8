// The MPEG-4 file reader filter as applications see it: identifiers, interfaces, events. For C++ on Windows;
// needs nothing but the platform's headers. `ktmp4source.idl` says the same to a MIDL compiler.
#pragma once

#include <guiddef.h>
#include <unknwn.h>

// Classes ---------------------------------------------------------------------------------------------------

/// The filter. Its `IFileSourceFilter` takes a file name or a ktmp4file:// URL; besides it has
/// `IMediaSeeking`, `ISpecifyPropertyPages`, `IMP4FileReader` and `IMetadataStorage`.
constexpr GUID CLSID_KtMp4FileReader = {
    0xf6c64ad8, 0x5aec, 0x4c96, {0x99, 0xee, 0x13, 0xfa, 0xf1, 0x4d, 0x68, 0xe9}};
/// Its property pages.
constexpr GUID CLSID_KtMp4FileReaderAboutPage = {
    0xde5f8226, 0x529c, 0x4046, {0xa7, 0x6c, 0x58, 0x9e, 0x7a, 0x0d, 0xa2, 0x62}};
constexpr GUID CLSID_KtMp4FileReaderPropertyPage = {
    0x558cec7a, 0xc9ce, 0x4ab0, {0x8e, 0x6b, 0x2c, 0x1d, 0x9e, 0xf6, 0xd3, 0x24}};
/// The decoder that the filter puts behind a video track: a filter with one input pin, which takes the video
/// types below, and one output pin, in that order.
constexpr GUID CLSID_KtMp4Decoder = {
    0xb3b19ce8, 0x8ed8, 0x4e87, {0x9d, 0x6c, 0xd4, 0xdc, 0xd6, 0xd9, 0x7e, 0x00}};

// Media types -----------------------------------------------------------------------------------------------

/// Subtypes of what the pins deliver. In the stamped ones each sample begins with two 64-bit little-endian
/// numbers, its composition and its decoding time in media ticks.
constexpr GUID MEDIASUBTYPE_KtMp4Video = {
    0x4b936acb, 0xa13a, 0x4bb7, {0x9c, 0x13, 0x1b, 0xe3, 0xe1, 0x95, 0xa3, 0xa9}};
constexpr GUID MEDIASUBTYPE_KtMp4VideoStamped = {
    0x5b56d203, 0xbcfd, 0x4897, {0xb3, 0xb5, 0x91, 0x13, 0x2d, 0xd0, 0xe8, 0x25}};
constexpr GUID MEDIASUBTYPE_KtMp4Audio = {
    0x86c426a8, 0xb961, 0x4701, {0x9f, 0xeb, 0x70, 0x7e, 0x0e, 0x88, 0xa1, 0xc3}};
constexpr GUID MEDIASUBTYPE_KtMp4AudioStamped = {
    0x99baa45a, 0x7b46, 0x4548, {0x96, 0xf0, 0x30, 0x21, 0x3b, 0xd1, 0x04, 0xf2}};
constexpr GUID MEDIASUBTYPE_KtH263 = {
    0x7dca46f1, 0x0e3a, 0x41c4, {0x89, 0x07, 0x86, 0x42, 0x36, 0xaa, 0x0e, 0x24}};
constexpr GUID MEDIASUBTYPE_KtH263Stamped = {
    0x6a0a40f2, 0xc9f0, 0x4751, {0xbd, 0x2c, 0x19, 0xeb, 0x08, 0xd9, 0x15, 0x2c}};
constexpr GUID MEDIASUBTYPE_KtAmr = {
    0x1829d70c, 0x27f9, 0x4d60, {0xa7, 0x92, 0xc4, 0x45, 0x24, 0x12, 0x8a, 0x1d}};
constexpr GUID MEDIASUBTYPE_KtAmrStamped = {
    0x2c7e00d7, 0xc51c, 0x42cf, {0xaa, 0x6b, 0xa3, 0xed, 0xc1, 0xc0, 0xe2, 0x2e}};
/// The format block of the video types: a VIDEOINFOHEADER in which only width, height and AvgTimePerFrame
/// (the length of one media tick) are set, at offset 88 the media ticks per second (32 bits), 12 zero bytes,
/// at offset 104 the decoder specific info up to the end of the block. Audio types have FORMAT_WaveFormatEx
/// with the decoder specific info from offset 18 on, although cbSize is 0.
constexpr GUID FORMAT_KtMp4Video = {
    0x615e9085, 0x099b, 0x47f5, {0xae, 0xf7, 0x13, 0xcc, 0xa2, 0x7f, 0xc0, 0x16}};
/// What the registry calls the content of a file; no pin has it.
constexpr GUID MEDIATYPE_KtMp4Stream = {
    0xdb868522, 0xc8e1, 0x41ec, {0x97, 0xb4, 0x0e, 0x9e, 0x24, 0xd5, 0xcf, 0x1e}};

// Graph events ----------------------------------------------------------------------------------------------

/// A metadata text, or a caption row, has come; without parameters. Where its queue is enabled, `GetItem`
/// will have it. Besides, what is on screen comes as EC_OLE_EVENT with the texts "Text" and the screen.
enum : long { EC_KTMP4_METADATA = 0x8064, EC_KTMP4_CAPTION = 0x8065 };

// Interfaces of the filter ----------------------------------------------------------------------------------

/// What a track is, in `IMP4FileReader`.
enum KtMp4TrackType : UINT32 {
  KTMP4_TRACK_UNKNOWN = 0,
  KTMP4_TRACK_VIDEO = 1,
  KTMP4_TRACK_AUDIO = 2,
  KTMP4_TRACK_LINE21 = 3,
  KTMP4_TRACK_SCENE_DESCRIPTION = 4,
  KTMP4_TRACK_OBJECT_DESCRIPTOR = 5,
  KTMP4_TRACK_HINT = 6,
};

constexpr GUID IID_IMP4FileReader = {
    0xddadcdd4, 0xc0aa, 0x47dd, {0x95, 0x46, 0xb6, 0xd1, 0xd8, 0x2d, 0x3d, 0x94}};

/// The facts of the loaded file. Tracks are told by their index from 0 in file order, those without a pin
/// included: E_INVALIDARG for a negative index, VFW_S_NO_MORE_ITEMS, a success, for one beyond the last, both
/// with the output untouched; E_POINTER for a null output.
MIDL_INTERFACE("ddadcdd4-c0aa-47dd-9546-b6d1d82d3d94")
IMP4FileReader : public IUnknown {
 public:
  virtual HRESULT STDMETHODCALLTYPE GetTrackCount(UINT32 * count) = 0;
  /// Ticks per second of the movie; 1000 before a file is loaded.
  virtual HRESULT STDMETHODCALLTYPE GetMovieTimeScale(UINT32 * timeScale) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetTrackId(INT32 index, UINT32 * id) = 0;
  /// Stores a `KtMp4TrackType`. With `cc=off` a caption track stays unknown.
  virtual HRESULT STDMETHODCALLTYPE GetTrackType(INT32 index, UINT32 * type) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetSampleCount(INT32 index, UINT32 * count) = 0;
  /// Media ticks per second.
  virtual HRESULT STDMETHODCALLTYPE GetTimeScale(INT32 index, UINT32 * timeScale) = 0;
  /// Movie ticks.
  virtual HRESULT STDMETHODCALLTYPE GetDuration(INT32 index, UINT64 * duration) = 0;
};

constexpr GUID IID_IMetadataStorage = {
    0x877496e5, 0x6d04, 0x42b6, {0x86, 0xd2, 0x2b, 0xf9, 0x72, 0x4a, 0xaa, 0x52}};

/// The queues of `IMetadataStorage`: rows of captions, and texts that ride in video samples.
enum KtMp4TextType : UINT32 { KTMP4_TEXT_CAPTIONS = 1, KTMP4_TEXT_METADATA = 2 };

/// Texts to be fetched. The queues are disabled at first and have no bound: whoever enables one has to empty
/// it. Any thread may call, also while the graph runs.
MIDL_INTERFACE("877496e5-6d04-42b6-86d2-2bf9724aaa52")
IMetadataStorage : public IUnknown {
 public:
  /// Enables or disables the queue of the captions (type 1) or of the metadata texts (any other type).
  /// Disabling drops what is stored. S_OK.
  virtual HRESULT STDMETHODCALLTYPE Enable(INT32 type, INT32 enabled) = 0;
  /// Takes the oldest text: S_OK; S_FALSE when there is none, with the outputs untouched; E_INVALIDARG for
  /// other types than 1 and 2; E_OUTOFMEMORY, with the text left in the queue. `text`, in the system's code
  /// page, is to be freed with CoTaskMemFree. `time` is in 100 ns units: for captions the position in the
  /// file, for metadata texts the time since the last seek. It is to be read as a signed number (INT64): a
  /// text between the sync sample, from which a seek goes on, and the position that was sought has a time
  /// below 0.
  virtual HRESULT STDMETHODCALLTYPE GetItem(UINT32 type, UINT64 * time, char** text) = 0;
};

// The callback of the application ---------------------------------------------------------------------------

/// An application that wants to be called makes a file mapping of this size under a name of its own, writes
/// its `ICaptionCallback`, marshalled with `CoMarshalInterface` for IID_ICaptionCallback, to the begin of the
/// mapping, and loads a URL with "&mdccid=NAME" first behind the path. The mapping has to stand until the
/// first call. The system has to know how to marshal the interface: register ktmp4captionps.dll, once for
/// each bitness of process that takes part. (In the filter's own process a callback that aggregates the
/// free-threaded marshaler does without.) The filter never gives the callback back.
constexpr DWORD KTMP4_CALLBACK_MAPPING_SIZE = 20000;

constexpr GUID IID_ICaptionCallback = {
    0x0714c3fd, 0xe0d2, 0x4189, {0x8d, 0x23, 0x39, 0x2d, 0x9f, 0xca, 0xfc, 0x97}};

/// Called with each text, on a streaming thread: as long as a call takes, its pin does not deliver. The texts
/// belong to the caller; what a call answers is not looked at.
///
/// Out of such a call, and out of whatever else a streaming thread of the filter calls (a renderer's
/// `Receive`), the filter can be asked anything, but not be changed: `Run`, `Pause`, `Stop`, `SetPositions`,
/// `Load`, `Connect`, `Disconnect` and joining a graph answer VFW_E_WRONG_STATE, on the streaming thread
/// itself and on a thread that serves the call for another apartment. Post a message to a thread of your own
/// and do it there. A third thread may change the filter meanwhile, and its change then waits until the call
/// returns: a call that in its turn waits for that thread never does. The last reference may be given back in
/// the call: the filter then stops and goes on another thread as soon as the call has returned.
MIDL_INTERFACE("0714c3fd-e0d2-4189-8d23-392d9fcafc97")
ICaptionCallback : public IUnknown {
 public:
  /// Not called by the filter; for other sources of texts to tell of their begin and end.
  virtual HRESULT STDMETHODCALLTYPE OnOpen(BSTR name) = 0;
  virtual HRESULT STDMETHODCALLTYPE OnClose() = 0;
  /// A row of captions that is complete. `time` is "1:02:05", the position in the file.
  virtual HRESULT STDMETHODCALLTYPE OnCaptionText(BSTR time, BSTR text) = 0;
  /// A text that rode in a video sample. `time` counts from the last seek.
  virtual HRESULT STDMETHODCALLTYPE OnMetadataText(BSTR time, BSTR text) = 0;
};

// The compilers of MinGW have no identifiers in the declarations.
#ifdef __CRT_UUID_DECL
__CRT_UUID_DECL(IMP4FileReader, 0xddadcdd4, 0xc0aa, 0x47dd, 0x95, 0x46, 0xb6, 0xd1, 0xd8, 0x2d, 0x3d, 0x94)
__CRT_UUID_DECL(IMetadataStorage, 0x877496e5, 0x6d04, 0x42b6, 0x86, 0xd2, 0x2b, 0xf9, 0x72, 0x4a, 0xaa, 0x52)
__CRT_UUID_DECL(ICaptionCallback, 0x0714c3fd, 0xe0d2, 0x4189, 0x8d, 0x23, 0x39, 0x2d, 0x9f, 0xca, 0xfc, 0x97)
#endif
