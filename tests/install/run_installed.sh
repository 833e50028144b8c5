#!/usr/bin/env bash
# The installed program as a user meets it: installed to a temporary prefix (`prefix`) or built
# into a .deb and unpacked by dpkg-deb -x (`deb`). With a temporary HOME the first start makes the
# per-user application folder from the installed files; SIGTERM ends the run cleanly; a second
# start runs on the same folder.
# Usage: run_installed.sh prefix|deb BUILD_DIR
set -u
mode=$1
build=$2
work=$(mktemp -d /tmp/brindale-install.XXXXXX)
trap 'rm -rf "$work"' EXIT
fail() { echo "FAIL: $*"; [ -f "$work/err" ] && tail -20 "$work/err"; exit 1; }

case $mode in
  prefix)
    cmake --install "$build" --prefix "$work/root/usr" > "$work/install.log" 2>&1 || { cat "$work/install.log"; fail "cmake --install"; }
    ;;
  deb)
    # The package of the tree as built: cpack installs it into its own staging folder.
    (cd "$work" && cpack -G DEB --config "$build/CPackConfig.cmake" -B "$work/pkg") > "$work/cpack.log" 2>&1 \
      || { cat "$work/cpack.log"; fail "cpack"; }
    deb=$(ls "$work"/pkg/*.deb 2>/dev/null | head -1)
    [ -n "$deb" ] || fail "no .deb made"
    dpkg-deb -c "$deb" > "$work/contents" || fail "dpkg-deb -c"
    for f in ./usr/bin/brindale ./usr/share/brindale/ini/Language1.ini ./usr/share/brindale/Database/ABC1.txt \
             ./usr/share/brindale/help/en/index.html ./usr/share/brindale/help/zh/index.html \
             ./usr/share/applications/brindale.desktop ./usr/share/icons/hicolor/scalable/apps/brindale.svg \
             ./usr/share/icons/hicolor/48x48/apps/brindale.png; do
      grep -q " $f\$" "$work/contents" || fail "$f is not in the package"
    done
    # Tools of the tests stay out.
    if grep -Eq 'brindale-scale|datagen|test_' "$work/contents"; then fail "a test tool is in the package"; fi
    dpkg-deb -f "$deb" Depends | grep -q 'libqt6widgets6' || fail "the package does not depend on Qt's widgets"
    dpkg-deb -x "$deb" "$work/root" || fail "dpkg-deb -x"
    ;;
  *) fail "mode $mode" ;;
esac

desktop-file-validate "$work/root/usr/share/applications/brindale.desktop" || fail "desktop entry"
program=$work/root/usr/bin/brindale
[ -x "$program" ] || fail "no $program"
[ ! -e "$work/root/usr/bin/ini" ] || fail "ini/ beside the installed program"

export HOME=$work/home
unset XDG_DATA_HOME
export QT_QPA_PLATFORM=offscreen
mkdir -p "$HOME"
folder=$HOME/.local/share/Brindale

# One run: started, ended by SIGTERM once its working database stands; status 0 and a clean end.
run_once() {
  "$program" > "$work/out" 2> "$work/err" &
  local pid=$! i
  for i in $(seq 1 200); do  # at most 20 s
    [ -e "$folder/Database/Brindale1.mdb" ] && break
    kill -0 $pid 2>/dev/null || break
    sleep 0.1
  done
  [ -e "$folder/Database/Brindale1.mdb" ] || { kill -KILL $pid 2>/dev/null; fail "no working database in $folder"; }
  sleep 1
  kill -TERM $pid
  for i in $(seq 1 300); do  # at most 30 s
    kill -0 $pid 2>/dev/null || break
    sleep 0.1
  done
  if kill -0 $pid 2>/dev/null; then kill -KILL $pid; fail "still running 30 s after SIGTERM"; fi
  wait $pid
  local rc=$?
  [ $rc -eq 0 ] || fail "status $rc"
  [ ! -e "$folder/Database/Brindale1.mdb" ] || fail "the working database was left behind"
  [ -f "$folder/AccessData/tempdept.txt" ] || fail "no mirror written"
}

run_once
for f in ini/Language1.ini ini/ParameterPLU1.ini ini/SETTING1.cfg Database/ABC1.txt help/en/frmMain.html; do
  cmp -s "$work/root/usr/share/brindale/$f" "$folder/$f" || fail "$f differs from the installed one"
done
ls -d "$HOME"/.local/share/Brindale.new-* 2>/dev/null && fail "a folder was left aside"
echo "mine" > "$folder/marker"
run_once
[ "$(cat "$folder/marker" 2>/dev/null)" = "mine" ] || fail "the second start did not run on the same folder"
echo "OK: $mode"
