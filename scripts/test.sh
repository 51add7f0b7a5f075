#!/usr/bin/env bash
# Builds and runs every test: the plain build, the AddressSanitizer + UndefinedBehaviorSanitizer build,
# and (where clang's libFuzzer is installed) the authorization-code fuzz target for 60 seconds.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh --test

# As root, with the server just installed, nothing stops the SFTP tests from running: a skip would hide
# a broken fixture, so it fails instead. Elsewhere they skip with the reason.
if [[ $(id -u) -eq 0 ]]; then
    export OMBRIVANE_REQUIRE_SSHD=${OMBRIVANE_REQUIRE_SSHD:-1}
fi

run_suite() {
    local dir=$1
    shift
    cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@" >/dev/null
    cmake --build "$dir" -j2
    (cd "$dir" && ctest --output-on-failure -j1 --timeout 300)
}

echo "== plain build"
run_suite build
echo "== sanitizer build"
run_suite build-asan -DOMBRIVANE_SANITIZE=ON -DOMBRIVANE_BUILD_BENCH=OFF

if [[ -f tests/fuzz/CMakeLists.txt ]] && command -v clang++ >/dev/null; then
    echo "== fuzz"
    cmake -S . -B build-fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=clang++ \
        -DOMBRIVANE_FUZZ=ON -DOMBRIVANE_BUILD_TESTS=OFF -DOMBRIVANE_BUILD_BENCH=OFF >/dev/null
    cmake --build build-fuzz -j2 --target authcode_fuzzer
    # The seeds, among them inputs that once found a fault, are read first on every run; what the fuzzer
    # finds goes to the build's own corpus folder.
    mkdir -p build-fuzz/corpus
    build-fuzz/tests/fuzz/authcode_fuzzer -max_total_time=60 -print_final_stats=1 build-fuzz/corpus tests/fuzz/seeds
fi
