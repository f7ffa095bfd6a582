# Sourced by ./run and ./test: the Debian packages that the project needs, and their installation.
need_packages() {
    local missing=() package
    for package in "$@"; do
        [ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null)" = installed ] || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    echo "Installing: ${missing[*]}"
    local sudo=()
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || { echo "Install these packages and start again: ${missing[*]}" >&2; return 1; }
        sudo=(sudo)
    fi
    "${sudo[@]}" apt-get update -q >/dev/null &&
        "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "${missing[@]}" \
            >/dev/null
}

packages_build=(g++ g++-multilib cmake ninja-build iproute2)
packages_test=(googletest clang libclang-rt-14-dev clang-tidy clang-format libosmocore-dev pkg-config python3 tzdata
    valgrind libbenchmark-dev libprotobuf-dev protobuf-compiler)
packages_ofono=(ofono dbus python3-dbus python3-gi python3-pytest)
