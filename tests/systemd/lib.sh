# shellcheck shell=bash disable=SC2154 # the variables of tests/systemd/run
# What the cases of tests/systemd share. Sourced by tests/systemd/run, which sets build, name and scratch.

system=$scratch/root # the folder of the system's root
steps=0
nspawn=
leader= # the system's first process
source_dir=$(cd "$here/../.." && pwd)
auth_phrase='first phrase of a user'
priv_phrase='second phrase of a user'

# ---- The system ------------------------------------------------------------------------------------------------------

# boot: starts the system and waits until its start is over.
boot() {
  local try state=
  systemd-nspawn --quiet --directory="$system" --machine="cvhost-test-$(basename "$scratch" | tr -dc 'a-zA-Z0-9')" \
    --private-network --boot --register=no --keep-unit --link-journal=no --resolv-conf=off --timezone=off \
    --console=read-only >>"$scratch/console" 2>&1 </dev/null &
  nspawn=$!
  for try in {1..600}; do
    kill -0 "$nspawn" 2>/dev/null || break
    leader=$(pgrep -P "$nspawn" -x systemd || true)
    state=$([[ -z $leader ]] || on systemctl is-system-running 2>/dev/null || true)
    [[ $state != running && $state != degraded ]] || return 0
    sleep 0.1
  done
  tail -n 20 "$scratch/console"
  printf 'not ok: the system did not start (%s after %s tries)\n' "${state:-no state}" "$try"
  exit 1
}

# power_off: ends the system in order; its files stay.
power_off() {
  if [[ -n $nspawn ]]; then
    on systemctl poweroff 2>/dev/null || true
    wait "$nspawn" || true
    nspawn=
    leader=
  fi
}

# on COMMAND...: runs it in the system, as root.
on() {
  nsenter --target "$leader" --mount --uts --ipc --net --pid --cgroup --root --wd env -i \
    PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 TERM=dumb MIBS= "$@"
}

# ---- Steps -----------------------------------------------------------------------------------------------------------

# step SENTENCE COMMAND...: the sentence is true when the command succeeds. It runs in a subshell of its own that ends
# at the first command that fails. The first step that fails ends the case.
step() {
  local sentence=$1 status
  shift
  set +e
  (
    set -e
    "$@"
  ) >"$scratch/step" 2>&1
  status=$?
  set -e
  if [[ $status -eq 0 ]]; then
    steps=$((steps + 1))
    printf 'ok: %s\n' "$sentence"
    return
  fi
  printf 'not ok: %s (status %s of: %s)\n' "$sentence" "$status" "$*"
  sed 's/^/    /' "$scratch/step"
  if [[ -n $leader ]]; then
    printf '  journal:\n'
    on journalctl --boot --no-pager --lines 40 2>&1 | sed 's/^/    /'
  fi
  exit 1
}

# eventually COMMAND...: until it succeeds, at most a minute.
eventually() {
  local try
  for try in {1..300}; do
    if "$@"; then
      return 0
    fi
    sleep 0.2
  done
  printf 'never true in %s tries: %s\n' "$try" "$*"
  return 1
}

# fails COMMAND...: it fails.
fails() {
  if "$@"; then
    printf 'this succeeded: %s\n' "$*"
    return 1
  fi
}

# prints TEXT COMMAND...: it succeeds and its output contains the text.
prints() {
  local text=$1 output
  shift
  output=$("$@" 2>&1) || { printf '%s\nfailed: %s\n' "$output" "$*"; return 1; }
  [[ $output == *"$text"* ]] || { printf '%s\nlacks: %s\n' "$output" "$text"; return 1; }
}

# equal A B
equal() {
  [[ $1 == "$2" ]] || { printf '"%s" is not "%s"\n' "$1" "$2"; return 1; }
}

# ---- The agent -------------------------------------------------------------------------------------------------------

# install_build: installs the build into the system, as cmake --install does on a host.
install_build() {
  DESTDIR=$system flock "$build/install.lock" cmake --install "$build" >"$scratch/install.log"
}

# documented HEADING: the first block of code below that heading in docs/cvtagentd.md.
documented() {
  awk -v heading="$1" '
    /^##+ / { found = $0; sub(/^##+ /, "", found); found = found == heading }
    found && /^```/ { if (inside) exit; inside = 1; next }
    inside
  ' "$source_dir/docs/cvtagentd.md"
}

# follow COMMAND: runs a documented command line in the system, with the pass phrases that it asks for or has in it.
follow() {
  local command=${1//PASS PHRASE/$auth_phrase}
  command=${command//THE OTHER/$priv_phrase}
  printf '%s\n%s\n' "$auth_phrase" "$priv_phrase" | on bash -c "$command"
}

# as_user NAME CLIENT ARGUMENT...: an SNMP client of the system's with the phrases of a user.
as_user() {
  local user=$1 client=$2
  shift 2
  on "$client" -v3 -l authPriv -u "$user" -a SHA-256 -A "$auth_phrase" -x AES -X "$priv_phrase" -t 2 -r 1 -On "$@"
}

# of_unit PROPERTY [UNIT]: its value.
of_unit() {
  on systemctl show --value --property="$1" "${2:-cvtagentd}"
}

# journal ARGUMENT...: what the agent has logged.
journal() {
  on journalctl --unit=cvtagentd --no-pager --output=cat "$@"
}

# in_state STATE: the agent's unit is active, failed or the like.
in_state() {
  equal "$(of_unit ActiveState)" "$1"
}
