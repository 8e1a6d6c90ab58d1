# shellcheck shell=bash disable=SC2154 # the variables of lib.sh
# A system that stays up for a minute: tests/systemd/interrupted ends it.

boot
step 'idle' true
sleep 60
