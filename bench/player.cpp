#include "bench/player.h"

#include "zu_parser_avi/track_info.h"

void Player::Close::operator()(IParser* parser) const {
  parser->Close();
  destroyParser(parser);
}

Player::Player(IDataSource& source) : m_parser(createParser()) {
  if (!m_parser || m_parser->Open(&source) != AVI_OK) throw std::runtime_error("does not open");
}

std::span<const uint8_t> Player::SeekVideo(unsigned long ms, unsigned long* reached) {
  Cursor cursor{true};
  m_parser->Seek(ms, AVI_TRACK_VIDEO, 0);
  if (Pull(kVideo, &cursor) != AVI_OK || cursor.len == 0) throw std::runtime_error("nothing behind a seek in video");
  *reached = cursor.ms;
  return UnitBuffer().first(cursor.len);
}

std::span<const uint8_t> Player::SeekAudio(unsigned long ms, unsigned long* reached) {
  Cursor cursor{true};
  m_parser->Seek(ms, AVI_TRACK_AUDIO, 0);
  if (Pull(kAudio, &cursor) != AVI_OK || cursor.len == 0) throw std::runtime_error("nothing behind a seek in sound");
  *reached = cursor.ms;
  return UnitBuffer().first(cursor.len);
}
