#ifndef ZU_TOOLS_AVIPROBE_REMUX_AV_H_
#define ZU_TOOLS_AVIPROBE_REMUX_AV_H_

// The C library that writes containers, its records with owners, its errors as HostError.

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
extern "C" {
#include <libavcodec/avcodec.h>
#include <libavcodec/bsf.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/mathematics.h>
#include <libavutil/opt.h>
}
#pragma GCC diagnostic pop

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "tools/aviprobe/host/host_error.h"

/// Deletes by a function that takes the address of the pointer.
template <auto kFree>
struct AvDeleter {
  template <typename T>
  void operator()(T* record) const {
    kFree(&record);
  }
};

using AvPacket = std::unique_ptr<AVPacket, AvDeleter<av_packet_free>>;
using AvParameters = std::unique_ptr<AVCodecParameters, AvDeleter<avcodec_parameters_free>>;
using AvCodec = std::unique_ptr<AVCodecContext, AvDeleter<avcodec_free_context>>;
using AvFilter = std::unique_ptr<AVBSFContext, AvDeleter<av_bsf_free>>;

/// @throw HostError when `status` is an error. @param what  what was tried, with the file's name in front.
inline int CheckAv(int status, const std::string& what) {
  if (status >= 0) return status;
  char text[AV_ERROR_MAX_STRING_SIZE] = {};
  av_strerror(status, text, sizeof text);
  throw HostError(what + ": " + text);
}

/// A packet with a copy of the bytes; its padding is what readers of bitstreams need.
inline AvPacket MakePacket(std::span<const uint8_t> bytes) {
  AvPacket packet(av_packet_alloc());
  if (!packet || bytes.size() > INT32_MAX || av_new_packet(packet.get(), static_cast<int>(bytes.size())) < 0) {
    throw HostError("no memory for a unit");
  }
  std::copy(bytes.begin(), bytes.end(), packet->data);
  return packet;
}

#endif  // ZU_TOOLS_AVIPROBE_REMUX_AV_H_
