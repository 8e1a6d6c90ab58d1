# shellcheck shell=bash disable=SC2154 # the variables of lib.sh
# From a clean machine to an agent that answers, by the documented commands, and a day in its life.

uptime=.1.3.6.1.2.1.25.1.1.0
boots=.1.3.6.1.6.3.10.2.1.2.0
contact=.1.3.6.1.2.1.1.4.0
configuration=/usr/local/etc/cvtagentd.conf

answers() {
  as_user reader snmpget localhost "$uptime"
}
boot_count() {
  as_user reader snmpget -Oqv localhost "$boots"
}
main_pid() {
  of_unit MainPID
}

walks() {
  local instances
  instances=$(as_user reader snmpbulkwalk localhost .1.3.6.1.2.1.25 | grep -c '^\.1\.3\.6\.1\.2\.1\.25\.')
  [[ $instances -gt 50 ]] || { printf 'only %s instances\n' "$instances"; return 1; }
}

runs_without_root() {
  equal "$(on ps -o user= -p "$(main_pid)" | tr -d ' ')" cvtagentd
  local capabilities
  capabilities=$(on grep -E '^Cap(Prm|Eff|Bnd)' "/proc/$(main_pid)/status")
  # CAP_KILL. A container has no CAP_SYS_TIME and CAP_SYSLOG, and the right to open port 161 has been given up.
  equal "$(awk '$1 == "CapEff:" { print $2 }' <<<"$capabilities")" 0000000000000020
}

reads_a_good_file_again() {
  local pid
  pid=$(main_pid)
  on sed -i '1i sysContact Night watch' "$configuration"
  on systemctl reload cvtagentd
  eventually prints 'Night watch' as_user reader snmpget localhost "$contact"
  equal "$(main_pid)" "$pid"
}

goes_on_with_the_old_one() {
  local pid
  pid=$(main_pid)
  on cp "$configuration" /root/good.conf
  on bash -c "printf 'rocomunity public\n' >>$configuration"
  on systemctl reload cvtagentd || true
  eventually prints 'rocomunity' on journalctl --unit=cvtagentd --no-pager
  prints 'Night watch' as_user reader snmpget localhost "$contact"
  equal "$(main_pid)" "$pid"
  on cp /root/good.conf "$configuration"
}

starts_again_after() {
  local signal=$1 pid count
  pid=$(main_pid)
  count=$(boot_count)
  on kill "-$signal" "$pid"
  eventually prints 'Timeticks' answers
  [[ $(main_pid) != "$pid" ]]
  equal "$(boot_count)" $((count + 1))
}

watchdog_of_two_seconds() {
  on mkdir -p /etc/systemd/system/cvtagentd.service.d
  on bash -c "printf '[Service]\nWatchdogSec=2\n' >/etc/systemd/system/cvtagentd.service.d/watchdog.conf"
  on systemctl daemon-reload
  on systemctl restart cvtagentd
  answers
}

is_started_at_boot() {
  eventually in_state active
  prints Timeticks answers
  prints 'Night watch' as_user reader snmpget localhost "$contact"
}

refuses_the_faulty_file() {
  on bash -c "printf 'rocomunity public\n' >>$configuration"
  fails on systemctl start cvtagentd
  prints 'rocomunity' journal
}

owns_its_state() {
  equal "$(on stat -c '%U %a' /var/lib/cvtagentd)" 'cvtagentd 700'
  equal "$(on find /var/lib/cvtagentd ! -user cvtagentd)" ''
}

install_build
boot
documented 'As a service' >"$scratch/commands"
[[ $(wc -l <"$scratch/commands") -eq 4 ]] || { printf 'not ok: docs/cvtagentd.md has no four commands\n'; exit 1; }
while IFS= read -r -u 3 command; do
  step "documented: $command" follow "$command"
done 3<"$scratch/commands"

step 'a bulk walk shows the host' walks
step 'another pass phrase is refused' fails \
  on snmpget -v3 -l authPriv -u reader -a SHA-256 -A 'not the phrase' -x AES -X "$priv_phrase" -r 0 localhost "$uptime"
step 'a community is refused' fails on snmpget -v2c -c public -t 1 -r 0 localhost "$uptime"
step 'it runs as its own user, without the right to open low ports' runs_without_root
step 'it owns its state, and nobody else can read that' owns_its_state
step 'reload reads a good file again' reads_a_good_file_again
step 'a faulty file is named in the journal, and the agent goes on with the old one' goes_on_with_the_old_one
step 'systemd starts it again when it is killed' starts_again_after KILL
step 'systemd is told to expect signs of life every two seconds' watchdog_of_two_seconds
step 'systemd starts it again when it hangs' starts_again_after STOP
power_off
boot
step 'it starts with the host, with its state and configuration' is_started_at_boot
step 'it stops' on systemctl stop cvtagentd
step 'without an error' equal "$(of_unit Result) $(of_unit ExecMainStatus)" 'success 0'
step 'a faulty file keeps it from starting, and the journal has the line' refuses_the_faulty_file
step 'a corrected file lets it start' on bash -c \
  "cp /root/good.conf $configuration && systemctl reset-failed cvtagentd && systemctl start cvtagentd"
step 'and answer' answers
