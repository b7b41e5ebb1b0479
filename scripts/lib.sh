# shellcheck shell=bash
# SPDX-License-Identifier: Apache-2.0
# Shared by the scripts: what they need from Debian, and quiet steps.

# Debian package, why it is needed. Used by the scripts that source this file.
# shellcheck disable=SC2034
BUILD_PACKAGES=(
  "g++|the compiler"
  "cmake|the build"
  "ninja-build|the build"
  "libcups2-dev|CUPS: PPD files, job options"
  "libcupsimage2-dev|CUPS: raster pages"
  "cups-ppdc|ppdc makes the PPD files from ppd/drav.drv"
  "libhwy-dev|vector code for all processors"
  "libcli11-dev|command line of the drav tool"
  "libpng-dev|pictures of the drav tool"
  "zlib1g-dev|packs the pictures in PDF files of the drav tool"
  "nlohmann-json3-dev|JSON reports of the drav tool"
  "libarchive-dev|support bundles of drav doctor"
  "libcairo2-dev|contact sheets and test pages of the drav tool"
  "libvips-dev|decodes pictures, in a program of its own"
  "libpappl-dev|the IPP server of the printer application"
  "libpango1.0-dev|sets text, in a program of its own"
  "libseccomp-dev|keeps these programs from network, files and other programs"
  "pkg-config|tells the build where cairo, libvips, pango and libseccomp are"
)
# shellcheck disable=SC2034
DEMO_PACKAGES=(
  "cups|cupsfilter runs the converters of a print job without a scheduler"
  "cups-filters|the converters from PDF to raster"
  "ghostscript|draws the pages"
)
# shellcheck disable=SC2034
TEST_PACKAGES=(
  "libgtest-dev|GoogleTest sources"
  "clang-14|second compiler, and the sanitizers"
  "libc++-14-dev|second standard library, as on macOS"
  "libc++abi-14-dev|second standard library, as on macOS"
  "libclang-rt-14-dev|sanitizer run times"
  "llvm-14|names functions in the sanitizers' reports, by which known leaks are told"
  "clang-format-14|formatter check"
  "clang-tidy-14|linter"
  "cppcheck|second linter, with a data-flow analysis of its own"
  "shellcheck|linter of the scripts"
  "cups-client|cupstestppd checks the PPD files"
  "python3|whole-program tests"
  "locales|source of a locale whose numbers have a decimal comma"
  "fish|its completions of drav"
  "zsh|its completions of drav"
  "poppler-utils|reads PDFs back"
  "netpbm|reads large pictures in tests"
  "python3-pil|makes the pictures that tests read"
  "fonts-dejavu-core|the font of text"
  "libheif-examples|makes HEIC and AVIF pictures"
  "strace|lists the system calls of a job"
  "binutils|readelf and objdump show how the programs were hardened"
  "git|names the files to check"
  "mandoc|linter of the manual pages"
  "cups-ipp-utils|ipptool tests the printer application"
  "dbus-daemon|a message bus for avahi in a test"
  "avahi-daemon|announces the printer application in a network of a test"
  "avahi-utils|looks for it there"
)

# shellcheck disable=SC2034
BROWSER_PACKAGES=(
  "chromium|the browser that the page of drav proof --html is tested in"
  "nodejs|runs the browser test"
  "npm|gets the package that drives the browser, locked to one version"
)
# shellcheck disable=SC2034
COVERAGE_PACKAGES=(
  "gcovr|reads the counts that gcc makes"
)
# shellcheck disable=SC2034
BENCH_PACKAGES=(
  "libbenchmark-dev|Google Benchmark"
  "python3-pil|peer: Pillow"
  "netpbm|peer: pamditherbw, pgmtopbm"
  "imagemagick|peer: convert"
)
# shellcheck disable=SC2034
CLEAN_PACKAGES=(
  "python3-numpy|makes photos of drawings, and compares"
  "python3-skimage|peer: Otsu, Niblack, Sauvola; thins lines"
  "python3-scipy|blurs and measures distances"
  "python3-pil|draws, reads and writes JPEG"
  "fonts-dejavu-core|the lettering"
  "imagemagick|peer: convert -lat"
)
# shellcheck disable=SC2034
PORTABILITY_PACKAGES=(
  "g++-aarch64-linux-gnu|compiler for arm64"
  "qemu-user|runs arm64 programs, and x86-64 programs on lesser processors"
  "lld-14|linker for clang's link-time optimisation"
  "llvm-14|archiver for clang's link-time optimisation"
)

# shellcheck disable=SC2034
PACKAGE_PACKAGES=(
  "build-essential|the compiler and dpkg-buildpackage"
  "debhelper|makes the packages"
  "lintian|checks packages against Debian's rules"
  "mmdebstrap|makes a clean root from the machine's own package sources"
  "iproute2|a loop-back interface for the clean root"
  "python3|runs the checks"
  "git|names the files to build from"
)

# shellcheck disable=SC2034
FRESH_PACKAGES=(
  "mmdebstrap|makes a clean root from the machine's own package sources"
  "git|clones the tree into it"
  "python3|runs the checks"
)

say() { printf '%s\n' "$*"; }
fail() {
  printf '%s: %s\n' "${0##*/}" "$*" >&2
  exit 2
}

# Whether the package is there, or another that stands for it, as a newer nodejs may for
# npm, which then cannot be installed.
is_installed() {
  [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" = installed ] && return 0
  dpkg-query -W -f='${db:Status-Status}, ${Provides}\n' | awk -F ', *' -v name="$1" '
    $1 == "installed" { for (i = 2; i <= NF; ++i) { sub(/ .*/, "", $i); if ($i == name) found = 1 } }
    END { exit !found }'
}

# Installs what is missing of "package|reason" entries, or says how to.
install_missing() {
  command -v dpkg-query >/dev/null || {
    say "This is not a Debian system: the packages of scripts/lib.sh must be there under other names."
    return 0
  }
  local entry missing=()
  for entry in "$@"; do
    is_installed "${entry%%|*}" && continue
    case " ${missing[*]-} " in *" ${entry%%|*} "*) continue ;; esac
    say "missing: ${entry%%|*} (${entry#*|})"
    missing+=("${entry%%|*}")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  local as_root=()
  if [ "$(id -u)" -ne 0 ]; then
    if command -v sudo >/dev/null && sudo -n true 2>/dev/null; then
      as_root=(sudo -n)
    else
      fail "no rights to install; run: sudo apt-get install --no-install-recommends ${missing[*]}"
    fi
  fi
  say "installing ${#missing[@]} packages ..."
  local log
  log=$(mktemp)
  if ! { "${as_root[@]}" apt-get update -qq &&
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
      apt-get install -y -q --no-install-recommends "${missing[@]}"; } >"$log" 2>&1; then
    tail -n 20 "$log" >&2
    rm -f "$log"
    fail "apt-get could not install: ${missing[*]}"
  fi
  rm -f "$log"
}

# Runs a step with its output in a log that is shown only when the step fails.
quiet_step() {
  local name=$1 log status=0 start=$SECONDS
  shift
  log=$(mktemp)
  "$@" >"$log" 2>&1 || status=$?
  if [ $status -ne 0 ]; then
    tail -n "${DRAV_LOG_LINES:-60}" "$log" >&2
    say "FAILED: $name ($((SECONDS - start)) s)"
  else
    say "ok: $name ($((SECONDS - start)) s)"
  fi
  rm -f "$log"
  return $status
}

# write_measured NAME TITLE COMMAND...: runs a command that measures, shows what it prints
# and writes it into docs/measured/NAME.md. When it fails, the file stays as it was.
write_measured() {
  local file=docs/measured/$1.md title=$2
  shift 2
  printf '# %s\n\nWritten by scripts/%s.\n\n' "$title" "${0##*/}" >"$file.new"
  if ! "$@" | tee -a "$file.new"; then
    rm -f "$file.new"
    fail "could not measure"
  fi
  mv "$file.new" "$file"
}
