#!/usr/bin/env bash
# Takes the README's screenshots of the desktop application on a virtual display: the palette
# (suggestions, an answer with its Why? lines, a confirmation, a choice), Settings and the
# Inspector, over the demo shop page. Writes docs/screenshots/*.png. Needs what scripts/setup.sh
# installs (Xvfb, xdotool, xwd, netpbm, Chromium) and a build.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${SKIMLET_BUILD_DIR:-$root/build}
out=$root/docs/screenshots
app=$build/apps/desktop/skimlet-desktop
[ -x "$app" ] || { echo "no $app: run scripts/build.sh first" >&2; exit 1; }

if [ -z "${SKIMLET_SCREENSHOT_BUS:-}" ]; then
  # The application is a D-Bus service (one instance per session): give it a session of its own.
  SKIMLET_SCREENSHOT_BUS=1 exec dbus-run-session -- bash "$0" "$@"
fi

home=$(mktemp -d)
mkdir -p "$home/config/skimlet" "$out"
cat > "$home/config/skimlet/settings.json" <<'JSON'
{"profile.name": "Ada Lovelace", "profile.email": "ada@example.com", "profile.phone": "+44 20 7946 0000"}
JSON
exec 3< <(Xvfb -displayfd 1 -screen 0 1280x800x24 -nolisten tcp 2>/dev/null)
read -r display <&3
export DISPLAY=:$display XDG_CONFIG_HOME=$home/config XDG_DATA_HOME=$home/data
app_pid=
cleanup() {
  [ -n "$app_pid" ] && kill "$app_pid" 2>/dev/null && wait "$app_pid" 2>/dev/null
  pkill -P $$ Xvfb 2>/dev/null || true
  rm -rf "$home"
}
trap cleanup EXIT

"$app" --url "$root/demo/shop.html" --no-model > "$home/app.log" 2>&1 &
app_pid=$!
for _ in $(seq 100); do grep -q "Skimlet is running" "$home/app.log" && break; sleep 0.2; done

# shot NAME WINDOW-NAME MARGIN: the window with MARGIN pixels of what is around it.
shot() {
  local id geometry x y w h
  id=$(xdotool search --onlyvisible --name "$2" | head -1)
  eval "$(xdotool getwindowgeometry --shell "$id")"
  x=$((X - $3)); y=$((Y - $3)); w=$((WIDTH + 2 * $3)); h=$((HEIGHT + 2 * $3))
  ((x < 0)) && x=0; ((y < 0)) && y=0
  xwd -root -silent | xwdtopnm 2>/dev/null | pnmcut -left "$x" -top "$y" -width "$w" -height "$h" |
    pnmtopng -compression 9 > "$out/$1.png"
  echo "wrote docs/screenshots/$1.png"
}
action() {
  gdbus call --session --dest org.skimlet.Skimlet --object-path /org/skimlet/Skimlet \
    --method org.gtk.Actions.Activate "$1" "[]" "{}" > /dev/null
}
command() {
  xdotool key ctrl+a
  xdotool type --delay 20 "$1"
  xdotool key Return
  sleep "${2:-3}"
}

xdotool key alt+space
sleep 1
shot palette-suggestions '^Skimlet$' 24
command "what does shipping cost?"
xdotool key ctrl+y
sleep 0.5
shot palette-result-why '^Skimlet$' 24
command "click delete account"
shot palette-confirmation '^Skimlet$' 24
xdotool key Escape
command "click email"
xdotool key Down
sleep 0.5
shot palette-choice '^Skimlet$' 24
xdotool key Escape Escape
action settings
sleep 1.5
shot settings '^Skimlet Settings$' 0
xdotool search --name '^Skimlet Settings$' windowunmap
action inspector
sleep 4
shot inspector '^Skimlet Inspector$' 0
action quit
