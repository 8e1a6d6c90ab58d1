# shellcheck shell=bash disable=SC2154 # the variables of lib.sh
# As an AgentX subagent of the distribution's agent, which is restarted, killed and stopped.

uptime=.1.3.6.1.2.1.25.1.1.0

# serves: the master answers with the agent's value. Its own host module is not initialised.
serves() {
  prints Timeticks on snmpget -v2c -c public -t 2 -r 0 -On localhost "$uptime"
}
serves_all() {
  local instances
  instances=$(on snmpbulkwalk -v2c -c public -t 5 -On localhost .1.3.6.1.2.1.25 | grep -c '^\.1\.3\.6\.1\.2\.1\.25\.')
  [[ $instances -gt 50 ]] || { printf 'only %s instances\n' "$instances"; return 1; }
}

set_up_master() {
  documented 'As an AgentX subagent' | sed 's/^rouser.*/rocommunity public 127.0.0.1/' >"$system/etc/snmp/snmpd.conf"
  on grep -q '^master agentx' /etc/snmp/snmpd.conf
  on grep -q '^agentXPerms .* cvtagentd' /etc/snmp/snmpd.conf
  on mkdir -p /etc/systemd/system/{snmpd,cvtagentd}.service.d
  cat >"$system/etc/systemd/system/snmpd.service.d/modules.conf" <<'END'
[Service]
ExecStart=
ExecStart=/usr/sbin/snmpd -LOw -u Debian-snmp -g Debian-snmp -f -I usmConf,vacm_conf,vacm_vars,usmUser,snmpEngine
END
  cat >"$system/etc/systemd/system/cvtagentd.service.d/agentx.conf" <<'END'
[Service]
ExecStart=
ExecStart=/usr/local/bin/cvtagentd --user cvtagentd --agentx
END
  on systemctl daemon-reload
  on systemctl start snmpd
}

comes_back_after() {
  local pid
  pid=$(of_unit MainPID)
  on "$@"
  eventually serves
  serves_all
  equal "$(of_unit MainPID)" "$pid"
}

goes_on_without_master() {
  on systemctl stop snmpd
  eventually prints 'lost the connection' journal
  in_state active
  on systemctl start snmpd
  eventually serves
}

leaves_the_master() {
  on systemctl stop cvtagentd
  equal "$(of_unit Result) $(of_unit ExecMainStatus)" 'success 0'
  prints 'No Such Object' on snmpget -v2c -c public -On localhost "$uptime"
}

install_build
boot
step 'users and folders of the service' on bash -c 'systemd-sysusers && systemd-tmpfiles --create'
step 'a master as documented' set_up_master
step 'the agent starts as a subagent' on systemctl start cvtagentd
step 'the master serves the host' eventually serves
step 'all of it' serves_all
step 'it serves again, without a restart, when the master has been restarted' comes_back_after systemctl restart snmpd
step 'and when the master has been killed' comes_back_after \
  bash -c 'systemctl kill -s KILL snmpd; sleep 0.5; systemctl reset-failed snmpd; systemctl start snmpd'
step 'it waits for a master that is stopped' goes_on_without_master
step 'when it is stopped the master serves the host no longer' leaves_the_master
