// Functions whose last bit C libraries are free to choose, and on which bytes of results depend.
#pragma once

namespace kel {

// e^x for x <= 0, correctly rounded: the same everywhere, unlike std::exp.
float exp_of_negative(double x);

}  // namespace kel
