#ifndef ZU_BENCH_LOG_COUNTER_H_
#define ZU_BENCH_LOG_COUNTER_H_

/// Lines that the library has logged: in place of the platform's log, which costs whatever it costs there. A clean file
/// gives a line or two when it is opened and at the end of each track.
unsigned long LoggedLines();

#endif  // ZU_BENCH_LOG_COUNTER_H_
