// How packed colours and NV12 or NV21 lie in memory, for the kernels between them.
#pragma once

namespace kel::imageprocess {

struct ColourOrder {
  int bytes_per_pixel;  // 3, or 4 with an alpha that is 255 when written
  bool red_first;       // R G B instead of B G R
  bool v_first;         // NV21
};

}  // namespace kel::imageprocess
