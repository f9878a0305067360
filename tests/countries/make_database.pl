#!/usr/bin/perl
# Writes a country database in MaxMind's format, for tests.
#
#   make_database.pl FILE [LAYOUT [IP_VERSION [BUILD_EPOCH]]] <NETWORKS
#
# NETWORKS are lines "NETWORK CODE"; a CODE "-" is a network that is known without a country. LAYOUT tells where the code
# stands: "country" and "registered" as MaxMind writes them, "code" and "plain" as others do.
use strict;
use warnings;
use MaxMind::DB::Writer::Tree;

my ($file, $layout, $version, $epoch) = @ARGV;
$layout //= 'country';
$version //= 6;
$epoch //= 1000000000;

my %types = (
    country => 'map', registered_country => 'map', continent => 'map', names => 'map', iso_code => 'utf8_string', code => 'utf8_string',
    en => 'utf8_string', country_code => 'utf8_string', geoname_id => 'uint32',
);
$types{country} = 'utf8_string' if $layout eq 'plain';

sub entry {
    my ($code) = @_;
    return {continent => {code => 'EU', names => {en => 'Europe'}}} if $code eq '-';
    return {country_code => $code} if $layout eq 'code';
    return {country => $code} if $layout eq 'plain';
    my $country = {geoname_id => 7, iso_code => $code, names => {en => "The land of $code"}};
    return {registered_country => $country} if $layout eq 'registered';
    return {country => $country, registered_country => {geoname_id => 8, iso_code => 'ZZ', names => {en => 'Nowhere'}}};
}

my $tree = MaxMind::DB::Writer::Tree->new(
    ip_version => $version, record_size => 24, database_type => 'Test-Country', languages => ['en'],
    description => {en => 'Networks for examples'}, remove_reserved_networks => 0, merge_strategy => 'none',
    map_key_type_callback => sub { $types{$_[0]} },
);
while (my $line = <STDIN>) {
    my ($network, $code) = split ' ', $line;
    $tree->insert_network($network, entry($code));
}
{
    # The moment at which it says it was built.
    no warnings 'redefine';
    *MaxMind::DB::Writer::Tree::_build_epoch = sub { $epoch };
}
open my $out, '>:raw', $file or die "$file: $!";
$tree->write_tree($out);
close $out or die "$file: $!";
