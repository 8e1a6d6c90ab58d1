# shellcheck shell=bash disable=SC2154 # the variables of lib.sh
# An agent that root has tried by hand, in the directory that is later the service's, does not keep the service from
# starting.

tries_by_hand() {
  local status=0
  on rm -rf /var/lib/cvtagentd # which the boot has made
  on timeout 3 /usr/local/bin/cvtagentd || status=$?
  equal "$status" 124
  on test -s /var/lib/cvtagentd/cvtagentd.conf
}

names_the_files() {
  on chown cvtagentd: /var/lib/cvtagentd
  fails on systemctl start cvtagentd
  prints 'cannot read what the user root has left in the state directory' journal
  prints '/var/lib/cvtagentd/cvtagentd.conf' journal
  equal "$(of_unit NRestarts)" 0
  on systemctl reset-failed cvtagentd
}

install_build
boot
step 'root tries the agent by hand' tries_by_hand
step 'the service names the files that it cannot read' names_the_files
while IFS= read -r -u 3 command; do
  step "documented: $command" follow "$command"
done 3< <(documented 'As a service')
step 'the state is all its own' equal "$(on find /var/lib/cvtagentd ! -user cvtagentd)" ''
