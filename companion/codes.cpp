/// \file codes.cpp
/// Observation code numbers 1 to 68: the band digits and attributes of RINEX 3 and 4, ordered by
/// band and, within a band, by the letter of the attribute.

#include "GNX_IO.h"

namespace GNX_IO {
namespace {

// Not const because code2obs hands out char*; nothing writes to it.
char codeNames[kMaxCode + 1][3] = {"",  //
                                   "1A", "1B", "1C", "1D", "1E", "1I", "1L", "1M", "1N", "1P", "1Q", "1S",
                                   "1W", "1X",                                                              //
                                   "1Y", "1Z",                                                              //
                                   "2C", "2D", "2I", "2L", "2M", "2N", "2P", "2Q", "2S", "2W", "2X", "2Y",  //
                                   "3I", "3Q", "3X",                                                        //
                                   "4A", "4B", "4X",                                                        //
                                   "5A", "5B", "5C", "5D", "5I", "5P", "5Q", "5X", "5Z",                    //
                                   "6A", "6B", "6C", "6E", "6I", "6L", "6Q", "6S", "6X", "6Z",              //
                                   "7D", "7I", "7P", "7Q", "7X", "7Z",                                      //
                                   "8D", "8I", "8P", "8Q", "8X",                                            //
                                   "9A", "9B", "9C", "9X"};

}  // namespace

char* code2obs(unsigned char code) { return codeNames[code <= kMaxCode ? code : 0]; }

}  // namespace GNX_IO
