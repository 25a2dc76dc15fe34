#!/usr/bin/env bash
# Tests of the Python package with Debian's Python: types, examples, results, arguments, batch runs.
#   scripts/test-python.sh [pytest arguments]          with the release build's library
#   scripts/test-python.sh --wheel [pytest arguments]  with a wheel around the self-contained library,
#                                                      in a fresh virtual environment
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh
install_packages "${build_packages[@]}" "${python_packages[@]}"
unset MORVIK_LIBRARY PYTHONPATH
export OPENCV_LOG_LEVEL=ERROR MORVIK_TOOL=$PWD/build/release/tools/morvik
# What killed workers of an earlier run left behind would be reported on standard error.
DASK_TEMPORARY_DIRECTORY=$(mktemp -d)
export DASK_TEMPORARY_DIRECTORY
trap 'rm -rf "$DASK_TEMPORARY_DIRECTORY"' EXIT
python=/usr/bin/python3
cmake --preset release >/dev/null
cmake --build --preset release --target morvik morvik_tool >/dev/null

(cd bindings/python && MYPYPATH='' mypy morvik hatch_build.py)
if [[ ${1:-} == --wheel ]]; then
  shift
  install_packages python3-build python3-hatchling python3-venv
  (cd bindings/python && rm -rf dist &&
    $python -m build --sdist --wheel --no-isolation --skip-dependency-check >/dev/null)
  # The source archive holds all that the library is built from.
  tar -x -z -f bindings/python/dist/*.tar.gz -C "$DASK_TEMPORARY_DIRECTORY"
  cmake -S "$DASK_TEMPORARY_DIRECTORY"/morvik-*/library -B "$DASK_TEMPORARY_DIRECTORY/library" -G Ninja \
    -DCMAKE_BUILD_TYPE=Release -DMORVIK_BUILD_{TESTS,TOOLS,EXAMPLES}=OFF >/dev/null
  ninja -C "$DASK_TEMPORARY_DIRECTORY/library" -n morvik >/dev/null
  # numpy and the test tools are Debian's; the package is the wheel's.
  $python -m venv --clear --system-site-packages build/venv
  build/venv/bin/pip install --quiet --no-index --no-deps bindings/python/dist/*.whl
  python=$PWD/build/venv/bin/python3
  (cd / && "$python" -c 'import morvik
maps = open("/proc/self/maps").read()
assert "site-packages/morvik/libmorvik.so" in maps and "opencv" not in maps, "the library is not the bundled one"')
  ls bindings/python/dist
else
  export MORVIK_LIBRARY=$PWD/build/release/libmorvik.so PYTHONPATH=$PWD/bindings/python
fi
"$python" -m pytest -q -p no:cacheprovider bindings/python/tests "$@"
