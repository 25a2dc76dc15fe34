#!/usr/bin/env bash
# Static analysis beyond clang-tidy (scripts/check-style.sh): cppcheck, and GCC's analyzer.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh
install_packages "${build_packages[@]}" cppcheck
# Left out, each for its reason:
#   useStlAlgorithm    style: plain loops over pixels are meant
#   unusedFunction, unmatchedSuppression, missingIncludeSystem   about the run, not the code
cmake --preset release >/dev/null
cppcheck --quiet --std=c++20 --language=c++ --enable=warning,performance,portability \
  --inline-suppr --error-exitcode=1 --suppress=useStlAlgorithm --suppress=missingIncludeSystem \
  -I include -I src -j "$(nproc)" src tools 2>&1
# GCC 12's analyzer was written for C: of its checks those run that understand C++ without
# exceptions, on code that owns memory by hand.
for file in $(git ls-files 'src/*.cpp'); do
  g++ -std=c++20 -O2 -fanalyzer -fsyntax-only -Werror -I include -I src \
    -isystem /usr/include/opencv4 -isystem /usr/include/eigen3 "$file"
done
echo "no findings"
