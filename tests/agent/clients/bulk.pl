# One GETBULK through Perl's Net::SNMP: bulk.pl PORT REPETITIONS OID[,OID]... [OPTION VALUE]... prints the names that the
# response brings, in order, or what went wrong. Options are those of Net::SNMP->session.
use strict;
use warnings;
use Net::SNMP;

my ($port, $repetitions, $oids, @options) = @ARGV;
my ($session, $error) = Net::SNMP->session(-hostname => '127.0.0.1', -port => $port, -timeout => 5, -retries => 0, @options);
die "no session: $error\n" unless defined $session;

$session->get_bulk_request(-maxrepetitions => $repetitions, -varbindlist => [split /,/, $oids])
    // die 'bulk: ' . $session->error . "\n";
print "$_\n" for $session->var_bind_names;
$session->close;
