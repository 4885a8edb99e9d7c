#!/usr/bin/perl
# Writes the checksum of a Windows image into its header, which lld leaves empty: pe-checksum.pl IMAGE
use strict;
use warnings;

my ($path) = @ARGV;
open(my $file, '+<:raw', $path // '') or die "pe-checksum: usage: pe-checksum.pl IMAGE: $!\n";
my $image  = do { local $/; <$file> };
my $header = unpack 'V', substr($image, 0x3C, 4);
die "pe-checksum: $path is no Windows image\n" unless substr($image, $header, 4) eq "PE\0\0";
my $offset = $header + 4 + 20 + 64;    # signature, file header, CheckSum in the optional header

# The sum of all 16-bit words, with the field itself as zero and each carry added to the end, and the length of the file.
substr($image, $offset, 4) = "\0" x 4;
my $sum = unpack '%64v*', $image . (length($image) % 2 ? "\0" : '');
$sum = ($sum & 0xFFFF) + ($sum >> 16) while $sum >> 16;
seek $file, $offset, 0;
print $file pack('V', $sum + length $image);
close $file or die "pe-checksum: $path: $!\n";
