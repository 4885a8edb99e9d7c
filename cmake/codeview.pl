#!/usr/bin/perl
# An assembler for GCC that leaves CodeView, the debug information of Windows, in place of DWARF. A specs file makes GCC
# call it, with -g1 -gdwarf-4, as its own: codeview.pl [OPTION...] -o OBJECT SOURCE
#
# GCC cannot write CodeView, but its .loc directives say the line of each instruction. They become .cv_loc, each function
# gets a symbol record and a line table, and clang's assembler makes the rest. The code is GCC's, unchanged.
# File names are relative to the root of the sources, the parent of this folder.
use strict;
use warnings;
use Cwd qw(realpath);
use Digest::MD5;
use File::Basename qw(dirname);

use constant {
    SIGNATURE => 4,        # CV_SIGNATURE_C13
    SYMBOLS   => 0xF1,     # a subsection of symbol records
    S_OBJNAME => 0x1101,
    S_COMPILE3 => 0x113C,
    S_GPROC32 => 0x1110,
    S_LPROC32 => 0x110F,
    S_END     => 0x0006,
    CPP       => 1,        # CV_CFL_CXX
    X64       => 0xD0,     # CV_CFL_X64
};

my $root = dirname(dirname(realpath($0)));
my ($object, $source);
my $labels = 0;
while (@ARGV) {
    my $argument = shift @ARGV;
    if    ($argument eq '-o')    { $object = shift @ARGV }
    elsif ($argument eq '-I')    { shift @ARGV }
    elsif ($argument !~ /^-/)    { $source = $argument }
}
die "codeview: usage: codeview.pl [OPTION...] -o OBJECT SOURCE\n" unless $object && $source;

# The name of a source file as it stands in the PDB, the same on every machine.
sub SourceName {
    my ($path) = @_;
    my $name = realpath($path) // $path;
    $name =~ s{^\Q$root\E/}{}                                    and return $name;
    $name =~ s{^/usr/lib/gcc/x86_64-w64-mingw32/[^/]+/include/}{gcc/} and return $name;
    $name =~ s{^/usr/x86_64-w64-mingw32/include/}{mingw-w64/}    and return $name;
    $name =~ s{^/usr/(share|include)/}{};
    return $name;
}

sub Checksum {
    my ($path) = @_;
    open(my $file, '<:raw', $path) or return '';
    return sprintf ' "%s" 1', Digest::MD5->new->addfile($file)->hexdigest;
}

sub Record {
    my ($kind, $body) = @_;
    my $label = '.Lcv_record' . ++$labels;
    return "\t.short ${label}_end-$label\n$label:\n\t.short $kind\n$body\t.p2align 2\n${label}_end:\n";
}

sub Subsection {
    my ($records) = @_;
    my $label = '.Lcv_subsection' . ++$labels;
    return "\t.long " . SYMBOLS . "\n\t.long ${label}_end-$label\n$label:\n$records${label}_end:\n\t.p2align 2\n";
}

# Names as the Windows debuggers show them: demangled, without parameters.
sub ReadableNames {
    my @names = @_;
    return () unless @names;
    open(my $filter, '-|', 'x86_64-w64-mingw32-c++filt', '-p', @names) or die "codeview: cannot run c++filt: $!\n";
    chomp(my @readable = <$filter>);
    close($filter) or die "codeview: c++filt failed\n";
    return map { $names[$_] => substr($readable[$_], 0, 2000) } 0 .. $#names;
}

open(my $in, '<', $source) or die "codeview: $source: $!\n";
my @lines = <$in>;
close $in;

my (@out, @functions, %isFile, %isGlobal, %seenLinkonce);
my ($section, $comdat, $isDebug, $function) = ('.text', 0, 0, undef);
for (@lines) {
    if (/^\t\.section\t([^,\s]+)/ || /^\t(\.text|\.data|\.bss)\b/) {
        $section = $1;
        $comdat  = exists $seenLinkonce{$section};
        $isDebug = $section =~ /^\.debug_/;
        push @out, $_ unless $isDebug;
    } elsif ($isDebug || /^\t\.ident\b/) {
        next;
    } elsif (/^\t\.linkonce\b/) {
        # GNU's assembler lets the directive repeat.
        push @out, $_ unless $seenLinkonce{$section}++;
        $comdat = 1;
    } elsif (/^\t\.file (\d+) "(.*)"$/) {
        next if $isFile{$1}++;
        my ($number, $path) = ($1, $2);
        my $name = SourceName($path);
        push @out, "\t.cv_file $number \"$name\"" . Checksum($path) . "\n";
    } elsif (/^\t\.loc (\d+) (\d+) /) {
        # Line 0 is what the compiler made up. A line holds until the next one; columns are left out.
        next unless $function && $2 && $function->{line} ne "$1 $2";
        $function->{line} = "$1 $2";
        push @out, "\t.cv_loc $function->{id} $1 $2 0\n";
    } elsif (/^\trex\.W (.*)/) {
        # How clang's assembler spells the prefix that marks a tail call for the unwinder.
        push @out, "\trex64 $1\n";
    } elsif (/^\t\.globl\t(\S+)/) {
        $isGlobal{$1} = 1;
        push @out, $_;
    } elsif (/^\t\.seh_proc\t(\S+)/) {
        $function = {id => scalar @functions, name => $1, comdat => $comdat, line => ''};
        push @functions, $function;
        push @out, "\t.cv_func_id $function->{id}\n", $_;
    } elsif (/^\t\.seh_endproc\b/) {
        push @out, ".Lcv_end$function->{id}:\n", $_;
        undef $function;
    } else {
        push @out, $_;
    }
}

my $compiler = Record(S_OBJNAME, "\t.long 0\n\t.asciz \"$object\"\n")
  . Record(S_COMPILE3, "\t.long " . CPP . "\n\t.short " . X64 . "\n" . "\t.short 12,0,0,0,14,0,0,0\n\t.asciz \"GCC 12, clang's assembler\"\n");
push @out, "\t.section\t.debug\$S,\"dr\"\n\t.p2align 2\n\t.long " . SIGNATURE . "\n", Subsection($compiler);

my %readable = ReadableNames(map { $_->{name} } @functions);
for (@functions) {
    my ($id, $name) = @$_{qw(id name)};
    my $text = $readable{$name} =~ s/(["\\])/\\$1/gr;
    my $start = "\t.long 0,0,0\n\t.long .Lcv_end$id-$name\n\t.long 0,0,0\n\t.secrel32 $name\n\t.secidx $name\n\t.byte 0\n\t.asciz \"$text\"\n";
    # The records of a function that the linker may drop or fold must go with it.
    push @out, "\t.section\t.debug\$S,\"dr\"" . ($_->{comdat} ? ",associative,$name" : '') . "\n";
    push @out, "\t.p2align 2\n\t.long " . SIGNATURE . "\n" if $_->{comdat};
    push @out, Subsection(Record($isGlobal{$name} ? S_GPROC32 : S_LPROC32, $start) . "\t.short 2," . S_END . "\n");
    push @out, "\t.cv_linetable $id, $name, .Lcv_end$id\n";
}
push @out, "\t.section\t.debug\$S,\"dr\"\n\t.cv_filechecksums\n\t.cv_stringtable\n";

open(my $clang, '|-', 'clang-14', '--target=x86_64-w64-mingw32', '-c', '-x', 'assembler', '-o', $object, '-')
  or die "codeview: cannot run clang: $!\n";
print $clang @out;
close($clang) or die "codeview: clang could not assemble $source\n";
