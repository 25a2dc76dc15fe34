#!/usr/bin/env bash
# Static analysis beyond clang-tidy (scripts/check-style.sh): cppcheck, and GCC's analyzer.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh
install_packages "${build_packages[@]}" cppcheck
# Left out, each for its reason:
#   useStlAlgorithm    style: plain loops over pixels are meant
#   missingIncludeSystem   system headers are not looked at
#   constStatement     takes `array[0] += sum` for a value that is not used
cppcheck --quiet --std=c++20 --language=c++ --enable=warning,performance,portability \
  --inline-suppr --error-exitcode=1 --suppress=useStlAlgorithm --suppress=missingIncludeSystem \
  --suppress=constStatement \
  -I include -I src -j "$(nproc)" src tools 2>&1
# GCC 12's analyzer was written for C. On C++ it takes records passed by value, members of Eigen and
# strings for uninitialised and does not know that new throws; what it says beside that counts.
for file in $(git ls-files 'src/*.cpp'); do
  g++ -std=c++20 -O1 -fanalyzer -Wno-analyzer-use-of-uninitialized-value \
    -Wno-analyzer-malloc-leak -Wno-analyzer-possible-null-dereference \
    -Wno-analyzer-null-dereference -Werror -S -o /dev/null -I include -I src \
    -isystem /usr/include/opencv4 -isystem /usr/include/eigen3 "$file"
done
echo "no findings"
