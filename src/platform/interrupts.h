// Requests from outside to end the program: Ctrl+C, the end of a session, `kill`.
#ifndef QUOVEL_PLATFORM_INTERRUPTS_H
#define QUOVEL_PLATFORM_INTERRUPTS_H

namespace quovel {

// From now on such a request calls `clean_up` on a thread of its own, while the other threads go on, and then ends the
// program as it would have ended without this call. Call it once, before other threads are made: they inherit what it
// sets. What the parent process made the program ignore stays ignored.
void clean_up_when_interrupted(void (*clean_up)()) noexcept;

// Makes a write beyond the limit for the size of files fail instead of ending the program.
void report_file_size_limit_as_error() noexcept;

}  // namespace quovel

#endif
