// Keeps a box file that shrinks while it is mapped (another process
// truncates it) from killing the process with SIGBUS.
//
// While a mapping is registered, a SIGBUS inside it puts a page of zeros in
// place of the page that is gone and marks the mapping as lost; the faulting
// read then goes on and reads zeros.  The analysis therefore ends normally,
// and delivers nothing once a mapping is lost (its findings would describe
// zeros, not the file); its caller asks lost() and tells the user.  A SIGBUS
// anywhere else goes to the disposition that was there before.
#pragma once

#include <cstddef>

namespace mapping_guard {

// Registers [start, start + size).  The handler is installed with the first
// registration and the previous disposition restored with the last removal.
void add(const void* start, size_t size);
void remove(const void* start);

// Whether a read of the mapping at start found a page gone.
bool lost(const void* start);
// Whether any registered mapping was lost.
bool anyLost();

}  // namespace mapping_guard
