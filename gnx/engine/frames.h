#pragma once
/// \file frames.h
/// What a host and its worker say to each other: frames over a pair of sockets on one machine.
///
/// Frames without an answer wait at the host for the next one that has an answer. Both ends are of one build,
/// which the first frame of the worker says; so nothing is negotiated.
///
/// | frame         | content                                          | answer                     |
/// |---------------|--------------------------------------------------|----------------------------|
/// | hello         | protocol version, of the worker, once            | none                       |
/// | start         | mode, station, mask, interval, clock, options    | events, done               |
/// | clock         | UTC, s                                           | none                       |
/// | message       | satellite number, record of the boundary         | none                       |
/// | glonass       | satellite number, slot, record of the boundary   | none                       |
/// | corrections   | satellites with news: index, what is new         | none                       |
/// | biases        | the same                                         | none                       |
/// | epoch         | time, records of the boundary                    | events, solution, done     |
/// | options       | words                                            | done                       |
/// | restart       |                                                  | events, done               |
/// | stores        | time                                             | done with names of files   |
/// | state         |                                                  | done with the state        |
/// | resume        | a state                                          | done                       |
/// | finish        |                                                  | done; the worker ends      |
/// | event         | name and values                                  |                            |
/// | solution      | a Solution                                       |                            |
/// | done          | what is wrong, "" for nothing; texts             |                            |

#include <cstdint>

#include "frames/frames.h"

namespace gnx {

inline constexpr std::uint32_t kProtocolVersion = 4;

enum class FrameKind : std::uint32_t {
  hello = 1,
  start,
  clock,
  message,
  glonass,
  corrections,
  biases,
  epoch,
  options,
  restart,
  stores,
  state,
  resume,
  finish,
  event,
  solution,
  done,
};

}  // namespace gnx
