# Sourced by ./run and ./test: installs the Debian packages that are missing. Expects the working directory
# to be the top of the source tree. docs/dependencies.md gives the reason for each package.

build_packages="g++ cmake ninja-build pkg-config gettext
  libwxgtk3.2-dev libepoxy-dev libstb-dev
  libavformat-dev libavcodec-dev libavutil-dev libswscale-dev
  libopencv-dev ffmpeg libgl1-mesa-dri fonts-dejavu-core"

test_packages="libgtest-dev libgmock-dev python3 libegl1
  xvfb xauth openbox xdotool wmctrl imagemagick x11-utils"

sanitizer_packages="clang libclang-rt-14-dev"

# install_missing PACKAGE… : asks apt for those that are not installed yet.
install_missing() {
    if ! command -v dpkg-query >/dev/null; then
        echo "This is no Debian: docs/dependencies.md says what has to be installed." >&2
        return 0
    fi
    missing=""
    for package in "$@"; do
        case "$(dpkg-query -W -f '${Status}' "$package" 2>/dev/null)" in
            *" installed") ;;
            *) missing="$missing $package" ;;
        esac
    done
    [ -n "$missing" ] || return 0
    echo "Installing:$missing"
    as_root=""
    if [ "$(id -u)" -ne 0 ]; then
        as_root="sudo"
        command -v sudo >/dev/null || { echo "Please install these packages as root:$missing" >&2; return 1; }
    fi
    $as_root apt-get update -qq &&
        $as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends $missing >/dev/null
}
