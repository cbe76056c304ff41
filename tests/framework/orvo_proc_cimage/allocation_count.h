// Counts the heap allocations of the program that links allocation_count.cpp, whoever makes them: operator new, malloc
// and its relatives, in the program and in its libraries, on all threads. Not for a sanitizer's build, which brings an
// allocator of its own.
#ifndef ALLOCATION_COUNT_H
#define ALLOCATION_COUNT_H

namespace allocation_count {

/// Allocations since the program began.
unsigned long All();

}  // namespace allocation_count

#endif
