#ifndef ZU_PARSER_AVI_VERSION_H_
#define ZU_PARSER_AVI_VERSION_H_

/// @file
/// The version of these headers. The library exports none: both come from one package. The build reads it from here.
/// While the first number is 0 the second one changes with anything that a host may notice, the third with the rest;
/// the changelog says what. Slots, records and values stay as they are in any case.

#define ZU_PARSER_AVI_VERSION_MAJOR 0  ///< 0 to 99
#define ZU_PARSER_AVI_VERSION_MINOR 2  ///< 0 to 99
#define ZU_PARSER_AVI_VERSION_PATCH 0  ///< 0 to 99

/// One number that grows, for `#if`: 0.2.0 is 200, 1.2.3 is 10203.
#define ZU_PARSER_AVI_VERSION \
  (ZU_PARSER_AVI_VERSION_MAJOR * 10000 + ZU_PARSER_AVI_VERSION_MINOR * 100 + ZU_PARSER_AVI_VERSION_PATCH)

/// The same as text, such as "0.2.0".
#define ZU_PARSER_AVI_VERSION_STRING \
  ZU_PARSER_AVI_DOTTED_(ZU_PARSER_AVI_VERSION_MAJOR, ZU_PARSER_AVI_VERSION_MINOR, ZU_PARSER_AVI_VERSION_PATCH)

/// @cond  Two steps, so that the numbers and not their names become text.
#define ZU_PARSER_AVI_DOTTED_(major, minor, patch) ZU_PARSER_AVI_TEXT_(major, minor, patch)
#define ZU_PARSER_AVI_TEXT_(major, minor, patch) #major "." #minor "." #patch
/// @endcond

#endif  // ZU_PARSER_AVI_VERSION_H_
