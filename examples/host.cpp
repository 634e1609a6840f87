// A whole host in one file: loads the parser, opens a file, plays it, seeks, changes the audio track.
// usage: host LIBRARY FILE.avi [units]      a third argument prints a line per unit
#define _FILE_OFFSET_BITS 64  // offsets beyond 2 GiB, wherever off_t would be smaller

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "zu_parser_avi/iparser.h"

namespace {

// The byte source. It blocks, so that it never has to say that it would.
class FileSource : public IDataSource {
 public:
  explicit FileSource(const char* path) : m_nFd(open(path, O_RDONLY | O_CLOEXEC)) {}
  ~FileSource() override {
    if (m_nFd >= 0) close(m_nFd);
  }
  bool IsOpen() const { return m_nFd >= 0; }

  int Prepare() override { return 0; }
  int SetPosition(int64_t, int) override { return 0; }  // every read brings its own offset
  int IsStreaming() override { return 0; }

  int GetSize(int64_t* length) override {
    *length = lseek(m_nFd, 0, SEEK_END);
    return 0;
  }

  int ReadAt(int64_t offset, void* buffer, uint64_t* length) override {
    const uint64_t wanted = *length;
    uint64_t done = 0;
    *length = 0;
    while (done < wanted) {  // the parser does not ask for a rest
      const ssize_t count = pread(m_nFd, static_cast<char*>(buffer) + done, static_cast<size_t>(wanted - done),
                                  static_cast<off_t>(offset + static_cast<int64_t>(done)));
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) return AVI_IO_ERROR;
      if (count == 0) break;  // the end of the file: what was read counts
      done += static_cast<uint64_t>(count);
    }
    *length = done;
    return 0;
  }

 private:
  int m_nFd;
};

const size_t kFirstBuffer = 1 << 20;     // suffices for all sound that the parser cuts itself
const size_t kLargestBuffer = 64 << 20;  // an uncompressed picture of 4096 x 2160 has 35 MB
const int kMaxEmptyReads = 1000;         // in a row

// One kind of track being played: its buffer, and the unit that waits in it.
struct Player {
  IParser* const pParser;
  const bool bVideo, bExists;
  bool bPlays, bFailed = false;
  size_t nBuffer = kFirstBuffer;
  std::unique_ptr<unsigned char[]> pBuffer{new unsigned char[kFirstBuffer]};
  unsigned long nLength = 0, nTimeMs = 0;  // of the waiting unit; 0 bytes: none
  unsigned long nUnits = 0, nBytes = 0, nLastMs = 0;

  Player(IParser* parser, bool video, bool exists) : pParser(parser), bVideo(video), bExists(exists), bPlays(exists) {}

  const char* Name() const { return bVideo ? "video" : "audio"; }

  int Read() {
    return bVideo ? pParser->GetVideoData(pBuffer.get(), &nLength, &nTimeMs, nBuffer, false)
                  : pParser->GetAudioData(pBuffer.get(), &nLength, &nTimeMs, nBuffer);
  }

  // Memory that is not touched costs nothing.
  void Grow() {
    if (nBuffer == kLargestBuffer) return;
    nBuffer = kLargestBuffer;
    pBuffer.reset(new unsigned char[nBuffer]);
  }

  // Has a unit wait, unless the track is at its end.
  void Fill() {
    int empty = 0, ends = 0;
    while (bPlays && nLength == 0) {
      const int status = Read();
      if (status == AVI_OK) {
        // A length of 0 is no end: ask again, after a pause if the source is one that blocks.
        if (nLength == 0 && ++empty == kMaxEmptyReads) Fail("gives nothing any more");
      } else if (status == AVI_END_OF_STREAM) {
        // A unit above the buffer looks the same, and sound that is still held may follow: ask once more.
        Grow();
        bPlays = ++ends < 2;
      } else if (status == AVI_IO_ERROR) {
        Fail("cannot be read");  // with an index a host on a network may ask again
      } else {
        Fail("is out of memory");  // AVI_OUT_OF_MEMORY; the other tracks play on
      }
    }
  }

  void Fail(const char* why) {
    fprintf(stderr, "%s: the track %s\n", Name(), why);
    bPlays = false;
    bFailed = true;
  }

  // A real host hands the unit to its decoder here.
  void Consume(bool print) {
    if (print) printf("%s  %8lu ms  %7lu bytes\n", Name(), nTimeMs, nLength);
    nUnits += 1;
    nBytes += nLength;
    nLastMs = nTimeMs;
    nLength = 0;
  }

  // After a seek: what waits is of the old place, and a track that was at its end plays again.
  void Restart() {
    nLength = 0;
    bPlays = bExists;
  }
};

// All tracks in step: units of both kinds in the order of their times, at most `most` of them.
void PlayBoth(Player& video, Player& audio, unsigned long most, bool print) {
  for (unsigned long units = 0; units < most; ++units) {
    video.Fill();
    audio.Fill();
    if (!video.bPlays && !audio.bPlays) return;
    const bool videoIsNext = video.bPlays && (!audio.bPlays || video.nTimeMs <= audio.nTimeMs);
    (videoIsNext ? video : audio).Consume(print);
  }
}

// One kind alone, such as the sound while the screen is off. The other one stays where it is.
void PlayOne(Player& player, bool print) {
  for (player.Fill(); player.bPlays; player.Fill()) player.Consume(print);
}

// Both kinds to one time: the picture goes to a key frame, and the sound to the time that this one has.
void SeekBoth(Player& video, Player& audio, unsigned long timeMs) {
  video.pParser->Seek(timeMs, AVI_TRACK_VIDEO, 0);
  video.Restart();
  video.Fill();
  audio.pParser->Seek(video.bPlays ? video.nTimeMs : timeMs, AVI_TRACK_AUDIO, 0);
  audio.Restart();
}

// To another audio track, at the time that is being played: it has a position of its own, so far the start.
void SwitchAudio(Player& audio, int track, unsigned long nowMs) {
  audio.pParser->SelectAudioTrack(track);
  audio.pParser->Seek(nowMs, AVI_TRACK_AUDIO, 0);
  audio.Restart();
}

// The decoder's configuration; empty when it needs none.
std::vector<unsigned char> Config(IParser* parser, bool video) {
  std::vector<unsigned char> config(1024);
  for (;;) {
    unsigned long length = 0;
    const int status = video ? parser->GetVideoConfig(config.data(), &length, config.size())
                             : parser->GetAudioConfig(config.data(), &length, config.size());
    const bool fits = length <= config.size();
    if (status != AVI_OK && fits) length = 0;  // MPEG audio: every frame has its own
    config.resize(length);
    if (fits) return config;
  }
}

int PlayItem(IParser* parser, bool print) {
  int video = -1, audio = -1, otherAudio = -1;
  bool seekable = false;
  for (int i = 0; i < parser->GetTrackCount(); ++i) {
    const TrackInfo& track = *parser->GetTrackInfo(static_cast<unsigned long>(i));
    if (track.nTrackType == AVI_TRACK_VIDEO && video < 0) {
      video = i;
      seekable = track.video.bSeekable != 0;
      printf("track %d: video, codec %u, %u x %u\n", i, track.nCodecId, track.video.nWidth, track.video.nHeight);
    } else if (track.nTrackType == AVI_TRACK_AUDIO) {
      (audio < 0 ? audio : otherAudio) = i;
      seekable = track.audio.bSeekable != 0;
      printf("track %d: audio, codec %u, %u Hz, %u channels\n", i, track.nCodecId, track.audio.nSampleRate,
             track.audio.nChannels);
    }
  }
  printf("configurations: video %zu bytes, audio %zu bytes\n", Config(parser, true).size(),
         Config(parser, false).size());

  Player pictures(parser, true, video >= 0), sound(parser, false, audio >= 0);
  PlayBoth(pictures, sound, static_cast<unsigned long>(-1), print);
  for (const Player* p : {&pictures, &sound}) {
    printf("%s: %lu units, %lu bytes, the last at %lu ms\n", p->Name(), p->nUnits, p->nBytes, p->nLastMs);
  }
  if (seekable) {  // without an index only the start can be reached
    unsigned long durationMs = 0;
    parser->GetDurationMs(&durationMs);
    printf("from %lu ms on:\n", durationMs / 2);
    SeekBoth(pictures, sound, durationMs / 2);
    PlayBoth(pictures, sound, 4, true);
  }
  if (seekable && otherAudio >= 0) {
    printf("with audio track %d:\n", otherAudio);
    SwitchAudio(sound, otherAudio, sound.nLastMs);
    PlayBoth(pictures, sound, 4, true);
    PlayOne(sound, print);
    printf("audio: to its end at %lu ms\n", sound.nLastMs);
  }
  return pictures.bFailed || sound.bFailed ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) return fprintf(stderr, "usage: %s LIBRARY FILE.avi [units]\n", argv[0]), 2;
  FileSource source(argv[2]);
  if (!source.IsOpen()) return fprintf(stderr, "%s: %s\n", argv[2], strerror(errno)), 3;

  void* library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  if (!library) return fprintf(stderr, "%s\n", dlerror()), 3;
  auto create = reinterpret_cast<decltype(&createParser)>(dlsym(library, "createParser"));
  auto destroy = reinterpret_cast<decltype(&destroyParser)>(dlsym(library, "destroyParser"));
  IParser* parser = create && destroy ? create() : nullptr;
  if (!parser) return fprintf(stderr, "%s: no parser\n", argv[1]), 3;

  int result = 3;
  if (parser->Open(&source) == AVI_OK) {
    result = PlayItem(parser, argc > 3);
  } else {
    fprintf(stderr, "%s: not an AVI file, or damaged beyond use\n", argv[2]);
  }
  parser->Close();  // due after a refusal too
  destroy(parser);
  dlclose(library);  // a host that plays on keeps it loaded
  return result;
}
