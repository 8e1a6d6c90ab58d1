# shellcheck shell=bash disable=SC2154 # the variables of lib.sh
# Messages have their priorities in the journal, which adds name and time itself.

# priorities TEXT: of the lines that contain it.
priorities() {
  on journalctl --unit=cvtagentd --no-pager --output=json --output-fields=MESSAGE,PRIORITY \
    | grep -F "$1" | sed -nE 's/.*"PRIORITY":"([0-9])".*/\1/p' | sort -u
}

lines_of_priorities() {
  equal "$(priorities 'serves 15 subtrees')" 6
  equal "$(priorities 'ready after')" 6
  equal "$(priorities 'lacks capabilities')" 4
}

no_name_within_the_message() {
  journal | grep -v '^systemd' >"$scratch/messages"
  grep -q 'ready after' "$scratch/messages"
  fails grep -E '^(cvtagentd: |<[0-7]>)' "$scratch/messages"
}

warnings_alone() {
  journal --priority=warning >"$scratch/warnings"
  grep -q 'lacks capabilities' "$scratch/warnings"
  fails grep -E 'ready after|serves 15' "$scratch/warnings"
}

errors_of_a_start() {
  on systemctl stop cvtagentd
  on bash -c "printf 'rocomunity public\n' >>/usr/local/etc/cvtagentd.conf"
  fails on systemctl start cvtagentd
  prints rocomunity journal --priority=err
}

install_build
boot
step 'users and folders of the service' on bash -c 'systemd-sysusers && systemd-tmpfiles --create'
step 'the service starts' on systemctl start cvtagentd
step 'messages have the priorities info and warning' lines_of_priorities
step 'the name stands before no message' no_name_within_the_message
step 'journalctl -p warning shows what matters' warnings_alone
step 'journalctl -p err shows why it did not start' errors_of_a_start
