// Spreading independent rows of work over threads.
#pragma once

#include <functional>

// Calls work(r) once for every r in 0..count-1, on up to `threads` threads
// including the calling one; rows are handed out in increasing order. Each
// call must write only storage of its own row. The first exception thrown
// by a call is rethrown here once every thread has stopped.
void forEachRow(unsigned long count, unsigned threads, const std::function<void(unsigned long)>& work);
