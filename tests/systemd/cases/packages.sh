# shellcheck shell=bash disable=SC2154 # the variables of lib.sh
# The Debian packages in the life of a host: installed beside another agent, used, upgraded, removed, purged.

uptime=.1.3.6.1.2.1.25.1.1.0
boots=.1.3.6.1.6.3.10.2.1.2.0
contact=.1.3.6.1.2.1.1.4.0
address=127.0.0.1:1161

# apt ARGUMENT...: nobody answers its questions.
apt() {
  on apt-get --yes "$@" </dev/null
}

# next_version: a package of a later version, with another configuration in it.
next_version() {
  local work=$scratch/next
  dpkg-deb --raw-extract "$build"/packages/cvtagentd_*.deb "$work"
  sed -i -E 's/^(Version: .*)$/\1.1/' "$work/DEBIAN/control"
  printf '# A line of the next version.\n' >>"$work/etc/cvtagentd.conf"
  dpkg-deb --root-owner-group --build "$work" "$system/root/next.deb"
}

installs_beside_another_agent() {
  on systemctl start snmpd
  of_unit MainPID snmpd >"$scratch/snmpd"
  apt install /root/cvtagentd.deb /root/libcvt1.deb
  in_state active
  equal "$(of_unit UnitFileState)" enabled
  equal "$(of_unit MainPID snmpd)" "$(cat "$scratch/snmpd")"
  prints 'Timeticks' on snmpget -v2c -c public -On 127.0.0.1:161 .1.3.6.1.2.1.1.3.0
}

# Port 1161 is 0489, 161 is 00A1; 127.0.0.1 is 0100007F.
is_on_loopback_only() {
  on grep -q ' 0100007F:0489 ' /proc/net/udp
  fails on grep -E ' 00000000:0489 ' /proc/net/udp
}

lets_nobody_in() {
  fails on snmpget -v2c -c public -t 1 -r 0 "$address" "$uptime"
  fails as_user reader snmpget "$address" "$uptime"
}

lets_the_user_read() {
  prints Timeticks as_user reader snmpget "$address" "$uptime"
}

lets_nobody_write() {
  fails as_user reader snmpset "$address" .1.3.6.1.2.1.25.2.3.1.5.1 i 5
  fails as_user reader snmpset "$address" .1.3.6.1.2.1.25.1.2.0 x 07E8010100000000
}

has_what_it_needs() {
  equal "$(on stat -c '%U:%G %a' /etc/cvtagentd.conf)" 'root:cvtagentd 640'
  equal "$(on stat -c '%U:%G %a' /var/lib/cvtagentd)" 'cvtagentd:cvtagentd 700'
  prints hrSystemUptime on cvtwalk hrSystem
}

upgrades() {
  local pid count
  pid=$(of_unit MainPID)
  count=$(as_user reader snmpget -Oqv "$address" "$boots")
  on sed -i '1i sysContact Night watch' /etc/cvtagentd.conf
  apt -o Dpkg::Options::=--force-confold install /root/next.deb
  prints 1.1 on dpkg-query --show cvtagentd
  in_state active
  [[ $(of_unit MainPID) != "$pid" ]]
  on grep -q 'A line of the next version' /etc/cvtagentd.conf.dpkg-dist
  fails on grep 'A line of the next version' /etc/cvtagentd.conf
  prints 'Night watch' as_user reader snmpget "$address" "$contact"
  equal "$(as_user reader snmpget -Oqv "$address" "$boots")" $((count + 1))
}

is_installed_again() {
  apt install --reinstall /root/next.deb
  lets_the_user_read
}

is_removed() {
  apt remove cvtagentd
  fails on grep ' 0100007F:0489 ' /proc/net/udp
  fails on test -e /usr/bin/cvtagentd
  on grep -q 'Night watch' /etc/cvtagentd.conf
  on test -s /var/lib/cvtagentd/cvtagentd.conf
}

comes_back() {
  apt install /root/next.deb
  in_state active
  lets_the_user_read
  prints 'Night watch' as_user reader snmpget "$address" "$contact"
}

is_purged() {
  apt purge cvtagentd libcvt1
  on find / -xdev '(' -name '*cvtagentd*' -o -name '*libCV*' -o -name '*cvtwalk*' ')' \
    -not -path '/var/log/*' -not -path '/proc/*' -not -path '/sys/*' -not -path '/root/*' >"$scratch/left"
  equal "$(cat "$scratch/left")" ''
  equal "$(on systemctl is-active snmpd)" active
}

cp "$build"/packages/cvtagentd_*.deb "$system/root/cvtagentd.deb"
cp "$build"/packages/libcvt1_*.deb "$system/root/libcvt1.deb"
boot
step 'a later version to upgrade to' next_version
step 'the packages are installed beside another agent, which keeps its port' installs_beside_another_agent
step 'the service answers on the loopback address only' is_on_loopback_only
step 'nobody is let in yet' lets_nobody_in
step 'files have their owners, and cvtwalk its module' has_what_it_needs
documented_command=$(documented 'From Debian packages')
step "documented: $documented_command" follow "$documented_command"
step 'the user may read' eventually lets_the_user_read
step 'and not write' lets_nobody_write
step 'an upgrade keeps a changed configuration, and restarts the service on its old state' upgrades
step 'it can be installed again' is_installed_again
step 'removed, it leaves configuration and state' is_removed
step 'installed once more, it goes on where it was' comes_back
step 'purged, it leaves nothing' is_purged
