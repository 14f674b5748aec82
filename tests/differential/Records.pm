# SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
# SPDX-License-Identifier: LGPL-2.1-or-later

# What the second readings share: the records that they are asked about, and the words in which they answer.

package Records;

use v5.36;
use Encode ();
use Exporter 'import';

our @EXPORT = qw(nextRecord linesOf decoded textOf integerOf outcomeOf);

# The command line has the major version of Qt first.
my $qt = shift @ARGV;

# By kind, in the policy's order; they come as "KIND MODULE,MODULE FLAG,FLAG NUMBER,NUMBER" on the command line.
our (%modulesOf, %flagsOf, %numbersOf);
for my $words (@ARGV) {
    my ($kind, @lists) = split ' ', $words;
    ($modulesOf{$kind}, $flagsOf{$kind}, $numbersOf{$kind}) = map { [split /,/] } @lists;
}

# The next record of the standard input: the words of its head line, and its bytes. Empty at the end.
sub nextRecord () {
    my $head = <STDIN> // return;
    my @words = split ' ', $head;
    my $length = pop @words;
    my $bytes = '';
    read(STDIN, $bytes, $length) == $length or die "a record is cut off\n";
    return ($bytes, @words);
}

# The lines of a file with their line ends.
sub linesOf ($bytes) {
    return $bytes =~ /[^\n]*\n|[^\n]+\z/g;
}

# The text of bytes in UTF-8. Encode takes a byte that never occurs in it for the first of a long sequence, and
# swallows what follows. Qt takes a byte order mark at the beginning of any text away.
sub decoded ($bytes) {
    return Encode::decode('UTF-8', $bytes =~ s/[\xC0\xC1\xF5-\xFF]/\xEF\xBF\xBD/gr) =~ s/\A\x{FEFF}//r;
}

# A line as a setting is looked for in it: as text, without comment and surrounding white space.
sub textOf ($line) {
    my ($untilNul) = split /\0/, $line, 2;
    my ($setting) = split /#/, decoded($untilNul // ''), 2;
    return ($setting // '') =~ s/^\s+|\s+$//gr;
}

# 0 for everything that is no decimal number of 32 bits. Qt 5 takes the minus of typography too.
sub integerOf ($number) {
    my $text = $qt == 5 ? $number =~ s/\A\x{2212}/-/r : $number;
    return 0 if $text !~ /\A[-+]?[0-9]+\z/ || $text > 2**31 - 1 || $text < -2**31;
    return sprintf '%d', $text;
}

sub typeOf ($key, $value) {
    return "bool $value" if $value =~ /^(true|false)$/;
    return $key eq 'expireDate' ? "qlonglong $value" : "int $value";
}

# What a reading leaves: state, message and values on one line.
sub outcomeOf ($kind, $found, %values) {
    my ($state, $message) = (2, '');
    if ($kind eq 'common-auth' && !$found) {
        $message = '"/usr/share/pam-configs/tally" not contain "pam_tally"';
    } elsif ($kind eq 'common-password' && !$found) {
        ($state, $message) = (1, '"/etc/pam.d/common-password" not contain "pam_cracklib or pam_pwquality"');
    }
    my %all = ((map { $_ => 'false' } @{$flagsOf{$kind} // []}), %values);
    return join '; ', "state $state", "message $message", map { "$_: " . typeOf($_, $all{$_}) } sort keys %all;
}

1;
