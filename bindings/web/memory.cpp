// The bounds of what a call may change. The loader keeps what is inside them once the module has
// started, and puts it back after a call that ran out of memory: nothing is unwound here.
#include <unistd.h>

#include <cstddef>
#include <cstdint>

#include "morvik/morvik.h"

// The loader writes and reads records as words.
static_assert(sizeof(QX_OFFSCREEN) == 44 && offsetof(QX_OFFSCREEN, plane) == 12 &&
              offsetof(QX_OFFSCREEN, pitch) == 28);
static_assert(offsetof(MKOutlineMode, expand_size) == 8 &&
              offsetof(MKOutlineMode, smooth_level) == 12 &&
              offsetof(MKOutlineMode, center) == 20 && offsetof(MKOutlineMode, threshold) == 24);
static_assert(sizeof(MKGetOutline) == 12 && sizeof(MKRect) == 16 && sizeof(TPOINT) == 8);

extern "C" {

extern uint8_t __data_end;   // static data lies below, the stack above
extern uint8_t __heap_base;  // end of the stack

const void* web_end_of_data() { return &__data_end; }
const void* web_start_of_heap() { return &__heap_base; }
const void* web_end_of_heap() { return sbrk(0); }

}  // extern "C"
