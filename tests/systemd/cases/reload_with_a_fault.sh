# shellcheck shell=bash disable=SC2154 # the variables of lib.sh
# "systemctl reload" with a faulty file fails and says why; the agent goes on.

configuration=/usr/local/etc/cvtagentd.conf
answers() {
  prints Timeticks as_user reader snmpget localhost .1.3.6.1.2.1.25.1.1.0
}

fails_and_goes_on() {
  local pid
  pid=$(of_unit MainPID)
  on bash -c "printf 'rocomunity public\n' >>$configuration"
  fails on systemctl reload cvtagentd
  prints rocomunity on journalctl --unit=cvtagentd --no-pager
  in_state active
  equal "$(of_unit MainPID)" "$pid"
  answers
}

takes_a_good_one() {
  on sed -i '/^rocomunity/d' "$configuration"
  on sed -i '1i sysContact Night watch' "$configuration"
  on systemctl reload cvtagentd
  eventually prints 'Night watch' as_user reader snmpget localhost .1.3.6.1.2.1.1.4.0
}

install_build
boot
while IFS= read -r -u 3 command; do
  step "documented: $command" follow "$command"
done 3< <(documented 'As a service')
step 'a reload with a faulty file fails, and the agent goes on' fails_and_goes_on
step 'a reload with the corrected file succeeds' takes_a_good_one
