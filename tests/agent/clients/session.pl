# Asks an agent through Perl's Net::SNMP: session.pl PORT OID TABLE OID-TO-SET [OPTION VALUE]... prints the value of OID, the
# number of instances below TABLE, and what it has set to 7. Options are those of Net::SNMP->session.
use strict;
use warnings;
use Net::SNMP;

my ($port, $oid, $table, $writable, @options) = @ARGV;
my ($session, $error) = Net::SNMP->session(-hostname => '127.0.0.1', -port => $port, -timeout => 10, @options);
die "no session: $error\n" unless defined $session;

my $got = $session->get_request(-varbindlist => [$oid]) // die 'get: ' . $session->error . "\n";
print "$got->{$oid}\n";
my $rows = $session->get_table(-baseoid => $table) // die 'table: ' . $session->error . "\n";
print scalar(keys %$rows), "\n";
my $set = $session->set_request(-varbindlist => [$writable, INTEGER, 7]) // die 'set: ' . $session->error . "\n";
print "$set->{$writable}\n";
$session->close;
