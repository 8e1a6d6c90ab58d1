# shellcheck shell=bash disable=SC2154 # the variables of lib.sh
# A start that a fault of configuration or state prevents is not tried again and again.

configuration=/usr/local/etc/cvtagentd.conf

fails_once() {
  fails on systemctl start cvtagentd
  sleep 7 # RestartSec is 5
  in_state failed
  equal "$(of_unit NRestarts)" 0
}

install_build
boot
step 'users and folders of the service' on bash -c 'systemd-sysusers && systemd-tmpfiles --create'
on cp "$configuration" /root/good.conf
on bash -c "printf 'rocomunity public\n' >>$configuration"
step 'a faulty configuration is not tried again' fails_once
on cp /root/good.conf "$configuration"
on systemctl reset-failed cvtagentd
step 'a corrected one starts' on systemctl start cvtagentd
on systemctl stop cvtagentd
on truncate --size 20 /var/lib/cvtagentd/cvtagentd.conf
step 'a damaged state is not tried again' fails_once
