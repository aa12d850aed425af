// A replacement of operator new for this test binary that can be told to
// fail: the allocation numbered failAt (counting from 0 once armed) throws
// std::bad_alloc. Only built without sanitizers, which bring their own.
#pragma once

namespace failing_new {

// Arms the failure: the failAt-th allocation from now on throws.
void arm(long failAt);
void disarm();
// Whether the armed failure was thrown since the last arm().
bool fired();

// Blocks from operator new not yet given back to operator delete. Unlike
// the heap's byte count this does not depend on how malloc splits chunks.
long liveBlocks();

// Bytes asked of operator new (aligned forms included) and not yet given
// back; the most there were since the last resetPeak().
long liveBytes();
long peakBytes();
void resetPeak();

}  // namespace failing_new
