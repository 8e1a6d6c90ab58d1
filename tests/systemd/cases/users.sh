# shellcheck shell=bash disable=SC2154 # the variables of lib.sh
# Users are added, changed and deleted while the agent serves, by root and without naming any folder.

uptime=.1.3.6.1.2.1.25.1.1.0
agent=/usr/local/bin/cvtagentd

# manage INPUT OPTION...: runs the agent's command for users with these lines as its input.
manage() {
  local lines=$1
  shift
  printf '%b' "$lines" | on "$agent" "$@"
}

lets_in() {
  prints Timeticks as_user "$1" snmpget localhost "$uptime"
}

is_not_listed() {
  on "$agent" --list-users >"$scratch/users" 2>&1
  fails grep -w late "$scratch/users"
}

keeps_the_process() {
  equal "$(of_unit MainPID)" "$(cat "$scratch/pid")"
}

install_build
printf 'rouser late authpriv\n' >>"$system/usr/local/etc/cvtagentd.conf"
boot
step 'users and folders of the service' on bash -c 'systemd-sysusers && systemd-tmpfiles --create'
step 'the service starts' on systemctl start cvtagentd
of_unit MainPID >"$scratch/pid"

step 'a user is added, and the state directory named' \
  prints /var/lib/cvtagentd manage "$auth_phrase\n$priv_phrase\n" --create-user late
step 'who is let in after a reload' on systemctl reload cvtagentd
step 'by the phrases' eventually lets_in late
step 'the user is listed' prints late on "$agent" --list-users
step 'the same user cannot be added again' fails manage "$auth_phrase\n$priv_phrase\n" --create-user late

old_phrase=$auth_phrase
auth_phrase='another phrase of that user'
step 'the phrases are changed' manage "$auth_phrase\n$priv_phrase\n" --change-user late
step 'taken in' on systemctl reload cvtagentd
step 'and valid' eventually lets_in late
auth_phrase=$old_phrase
step 'the old ones are not' fails lets_in late
auth_phrase='another phrase of that user'

step 'the user is deleted' manage '' --delete-user late
step 'taken in again' on systemctl reload cvtagentd
step 'and refused' eventually fails lets_in late
step 'the user is no longer listed' is_not_listed
step 'all in one process' keeps_the_process
step 'whose state is all its own' equal "$(on find /var/lib/cvtagentd ! -user cvtagentd)" ''
