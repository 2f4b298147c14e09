# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
# Makes sure that the Debian packages a script needs are there. To be sourced after steps.sh.
#
#     need_packages "${build_packages[@]}" "${test_packages[@]}"
#
# What is looked for is the program or the file itself, so that tools which were installed in another
# way count as well. apt-get is called only when something is missing: directly as root, else through
# sudo. Where neither is possible the missing packages are named and the script ends.

# shellcheck disable=SC2034 # for the scripts that source this
{
    build_packages=(g++ cmake ninja-build liblapack-dev)
    test_packages=(libgtest-dev libgmock-dev pkg-config python3 gdb libeigen3-dev)
    python_packages=(pybind11-dev python3-dev python3-numpy python3-pytest python3-hypothesis
        python3-meshio python3-h5py python3-matplotlib mypy python3-pip python3-venv
        python3-setuptools python3-wheel)
    # Hundreds of packages, for the bridge to VTK and for tests that compare node orders with theirs.
    format_packages=(libvtk9-dev libgmsh-dev)
    # MPI, its compilers and PT-Scotch come with the first.
    distributed_packages=(libpetsc-real-dev libhdf5-openmpi-dev python3-mpi4py)
    bench_packages=(libbenchmark-dev)
    package_packages=(debhelper dh-python lintian autopkgtest fakeroot git pybind11-dev python3-dev python3-numpy)
    manual_packages=(doxygen python3-sphinx python3-breathe python3-myst-parser furo npm)
}

# has_package <package>: is there what the package is needed for?
has_package() {
    case $1 in
    g++) command -v g++ ;;
    cmake) command -v cmake && command -v ctest ;;
    ninja-build) command -v ninja ;;
    pkg-config) command -v pkg-config ;;
    python3) command -v python3 ;;
    npm) command -v npm ;;
    clang) command -v clang++ ;;
    libclang-rt-14-dev) has_fuzzer_runtime ;;
    clang-format-14) command -v clang-format-14 ;;
    clang-tidy-14) command -v clang-tidy-14 ;;
    gcovr) command -v gcovr ;;
    libvtk9-dev) compgen -G '/usr/lib/*/cmake/vtk-9*/vtk-config.cmake' || compgen -G '/usr/local/lib/cmake/vtk-9*' ;;
    libgmsh-dev) has_header gmsh.h ;;
    libeigen3-dev) has_header eigen3/Eigen/Core ;;
    gdb) command -v gdb ;;
    pybind11-dev) has_header pybind11/pybind11.h ;;
    python3-numpy | python3-pytest | python3-hypothesis | python3-meshio | python3-h5py | \
        python3-matplotlib | python3-pip | python3-venv | python3-setuptools | python3-wheel) has_module "${1#python3-}" ;;
    mypy) has_module mypy ;;
    liblapack-dev) has_library liblapack ;;
    libgtest-dev) has_header gtest/gtest.h ;;
    libgmock-dev) has_header gmock/gmock.h ;;
    libbenchmark-dev) has_header benchmark/benchmark.h ;;
    *) dpkg-query --show --showformat='${Status}' "$1" 2>/dev/null | grep -q 'ok installed$' ;;
    esac >/dev/null
}

has_header() {
    [[ -e /usr/include/$1 || -e /usr/local/include/$1 ]]
}

# A module of the Python that the package is built for, which is Debian's where there is one.
has_module() {
    local python=/usr/bin/python3
    [[ -x $python ]] || python=python3
    [[ $1 != venv ]] || set -- ensurepip
    "$python" -c "import $1"
}

has_library() {
    compgen -G "/usr/lib/*/$1.so" || compgen -G "/usr/lib/$1.so" || compgen -G "/usr/local/lib/$1.so"
}

# libFuzzer for the clang++ that is there, wherever it comes from.
has_fuzzer_runtime() {
    local folder
    folder=$(clang++ -print-resource-dir 2>/dev/null) || return 1
    compgen -G "$folder/lib/*/libclang_rt.fuzzer*.a"
}

# missing_packages <package>...: those that are not there, one per line.
missing_packages() {
    local package
    for package in "$@"; do
        has_package "$package" || printf '%s\n' "$package"
    done
}

# need_packages <package>...: installs what is missing or ends the script.
need_packages() {
    local missing
    mapfile -t missing < <(missing_packages "$@")
    ((${#missing[@]})) || return 0

    local as_root=()
    if ((EUID != 0)); then
        as_root=(sudo)
        [[ -t 0 ]] || as_root+=(-n) # nobody is there to type a password
    fi
    if ! command -v apt-get >/dev/null || ! command -v "${as_root[0]:-env}" >/dev/null ||
        ! "${as_root[@]}" true; then
        die "these packages are missing: ${missing[*]}
On Debian and Ubuntu install them as root with
    apt-get install ${missing[*]}
elsewhere under the names they have there, then start again."
    fi

    step "Installing ${missing[*]}"
    local apt=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive
        apt-get -y -o Acquire::Retries=3 -o Dpkg::Use-Pty=0)
    # An unreachable source of some other package need not stop us; the installation will tell.
    "${apt[@]}" update || true
    "${apt[@]}" install --no-install-recommends "${missing[@]}"

    mapfile -t missing < <(missing_packages "$@")
    ((${#missing[@]} == 0)) || die "still missing after the installation: ${missing[*]}"
}
