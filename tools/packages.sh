# Installs Debian packages that are missing. To be sourced by the scripts at the top of the tree.

# What building the program takes, and what running it without a display takes on top.
build_packages="cmake ninja-build g++ qt6-base-dev qt6-svg-dev libgl-dev libpugixml-dev"
runtime_packages="libqt6svg6 fonts-dejavu-core"
headless_packages="xvfb xdotool imagemagick x11-utils"
test_packages="xvfb gdbserver openocd procps qemu-system-arm qemu-system-mips qemu-system-misc weston qt6-wayland imagemagick"
# The benchmarks count instructions under valgrind, with its header.
bench_packages="libbenchmark-dev valgrind"
# The compilers of the firmwares are here too: the suite then builds them anew and compares.
check_packages="python3 clang lld clang-format clang-tidy cppcheck libclang-rt-14-dev gcc-arm-none-eabi ccache"
deb_packages="debhelper lintian desktop-file-utils appstream man-db faketime"

# need_packages PACKAGE...: says what is missing and installs it, with sudo when not root.
need_packages() {
    local missing=() package
    for package in "$@"; do
        dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q '^install ok installed$' ||
            missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || {
            echo "These packages are missing, and neither root nor sudo is at hand: ${missing[*]}" >&2
            return 1
        }
        as_root=(sudo)
    fi
    echo "Installing from the distribution: ${missing[*]}"
    "${as_root[@]}" apt-get update -q
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -q -y --no-install-recommends "${missing[@]}"
}

# configure_preset NAME [ARGUMENT...]: runs CMake once for a preset; Ninja repeats it when needed.
configure_preset() {
    local preset=$1
    shift
    if command -v ccache >/dev/null; then
        set -- "$@" -DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache
    fi
    if [ ! -f "build/$preset/build.ninja" ]; then
        cmake --preset "$preset" "$@"
    fi
}
