#ifndef ZU_BASE_LIMITS_H_
#define ZU_BASE_LIMITS_H_

#include <cstddef>
#include <cstdint>

// Every bound that the parser puts on what a file may claim, with its reason.

constexpr int AVI_MAX_STREAMS = 100;          // chunk ids have two decimal digits
constexpr int AVI_VBR_STREAMS = 40;           // streams from here on are never treated as VBR
constexpr int AVI_MAX_AUDIO_TRACKS = 10;      // entries of the audio list; further streams cannot be selected
constexpr int AVI_MAX_TEXT_TRACKS = 28;       // entries of the text list
constexpr int AVI_MAX_LIST_DEPTH = 64;        // lists open at once below the top level; bounds the stack
constexpr uint32_t AVI_MAX_NODES = 1u << 20;  // a file of tiny chunks must not become a huge tree
constexpr uint32_t AVI_MAX_COPY = 16u << 20;  // strf, strd, strn, name: nothing genuine comes near
constexpr uint32_t AVI_MIN_FORMAT = 40;       // strf buffers are padded so that fixed offsets can be read
constexpr int AVI_RESYNC_LIMIT = 1000;        // bytes searched for a known FourCC behind a zero-size chunk

constexpr uint32_t AVI_OLD_INDEX_BLOCK = 10000;         // raw idx1 entries read at once
constexpr uint32_t AVI_OLD_ENTRY_BYTES = 16;            // one raw idx1 entry, one table entry
constexpr uint64_t AVI_MAX_STREAM_TABLE = 64ull << 20;  // index tables while the file's length is not known
constexpr uint64_t AVI_NEW_ENTRY_BYTES = 8;             // a chunk has at least a header, so a file has no more entries
constexpr uint64_t AVI_INDEX_READ_FACTOR = 4;           // OpenDML tables read in one open, in lengths of the file
constexpr int AVI_MAX_INDEX_LEVELS = 2;                 // a super index inside a super index is ignored
constexpr uint64_t AVI_MAX_FIRST_FRAME = 16ull << 20;   // temporary frames while the file's length is not known

constexpr int AVI_EMPTY_LIMIT = 1000;                 // empty chunks in one scan
constexpr uint32_t AVI_CARRY_BYTES = 1u << 20;        // each audio carry-over buffer
constexpr uint32_t AVI_SPLIT_BYTES = 1u << 20;        // the buffer that re-joins split pictures
constexpr uint32_t AVI_CONFIG_SCRATCH = 1000;         // bytes searched for H.264 parameter sets
constexpr uint32_t AVI_SEEK_MARGIN = 5;               // last entries that are never a forward target
constexpr int AVI_FIRST_RETRIES = 10;                 // further reads when the first one is empty
constexpr int AVI_NEXT_RETRIES = 20;                  // further reads when a later one is empty
constexpr int AVI_FRAMER_TRIES = 10;                  // empty frames before the host gets a zero-length success
constexpr uint32_t AVI_SYNC_SEARCH_BYTES = 1u << 20;  // searched for a frame header by one of these tries
constexpr uint32_t AVI_SYNC_SEARCH_CHUNKS = 1000;     // the same in chunks, which may be of a byte each
constexpr int AVI_RESYNC_PICTURES = 50;               // pictures read in search of an I picture
constexpr uint32_t AVI_STRAY_BYTES = 3;               // bytes between two frames that travel with the first

constexpr uint32_t AVI_LINES_PER_DELIVERY = 100;  // of a text about a frame header, in one call for audio
constexpr uint32_t AVI_LINES_PER_WALK = 1000;     // of a text that a damaged file repeats, in one walk

constexpr uint32_t AVI_PCM_BLOCK = 16384;      // bytes per delivered PCM block
constexpr uint32_t AVI_PROBE_PIECE = 8;        // bytes per read in search of an AC-3 sync word
constexpr int AVI_VOL_WINDOW = 30;             // bytes searched for a damaged VOL header
constexpr uint32_t AVI_SPLIT_PROBE = 10;       // index entries examined for split pictures
constexpr uint32_t AVI_MAX_READ = 0x7FFFFFFF;  // a read's result is an int

#endif  // ZU_BASE_LIMITS_H_
