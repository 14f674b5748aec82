#!/usr/bin/perl
# SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
# SPDX-License-Identifier: LGPL-2.1-or-later

# A second rewriting of the policies' files, which tells the bytes that a write must leave.
#
# Standard input: records of "WHAT KIND KEY=VALUE... LENGTH\n" and as many bytes; WHAT is "settings", "profile", or
# "stack" for the correction of a generated PAM stack. Standard output: "LENGTH\n" and as many bytes for each.

use v5.36;
use FindBin;
use lib $FindBin::Bin;
use Records;
use Encode ();
use POSIX qw(strftime);

my %settingsOf = (
    'login.defs' => [
        [PASS_MAX_DAYS => 'maxInterval', ' '],
        [PASS_MIN_DAYS => 'minInterval', ' '],
        [PASS_WARN_AGE => 'warningInterval', ' '],
    ],
    useradd => [[INACTIVE => 'inactiveInterval', '='], [EXPIRE => 'expireDate', '=']],
);

# A comment keeps its bytes, of whatever encoding.
sub commentOf ($line) {
    my (undef, $comment) = split /#/, $line, 2;
    return defined $comment ? "\t#" . $comment =~ s/[ \t\n\r\f\x0B]+\z//r : '';
}

# The name of the setting that the text is; nothing if it is none.
sub nameIn ($kind, $text) {
    my $names = join '|', map { $_->[0] } @{$settingsOf{$kind}};
    for my $part ($text =~ /(?=((?:$names).*))/gs) {
        my ($name, $value) = $part =~ /\A($names)\s*(.*)\z/s;
        return $name if $value =~ ($kind eq 'useradd' ? qr/\A=/ : qr/\A-?(?![\x{10000}-\x{10FFFF}])\d/);
    }
    return;
}

sub valueOf ($key, $number) {
    return $key eq 'expireDate' ? strftime('%Y-%m-%d', gmtime $number * 86400) : $number;
}

sub rewriteSettings ($kind, $bytes, %arguments) {
    my %new = map { $_->[0] => $_->[0] . $_->[2] . valueOf($_->[1], $arguments{$_->[1]}) }
        grep { exists $arguments{$_->[1]} } @{$settingsOf{$kind}};
    my ($result, %met) = ('');
    for my $line (linesOf($bytes)) {
        my $name = nameIn($kind, textOf($line));
        $met{$name // ''} = 1;
        $result .= defined $name ? ($new{$name} // '') . commentOf($line) . "\n" : $line;
    }
    for my $name (grep { $new{$_} && !$met{$_} } map { $_->[0] } @{$settingsOf{$kind}}) {
        $result .= $new{$name} . ($name eq 'EXPIRE' ? '' : "\n");
    }
    return $result;
}

# The text up to the last module that stands alone, and its options; nothing if the line has no module.
sub moduleLine ($kind, $text) {
    my $modules = join '|', map { quotemeta } @{$Records::modulesOf{$kind}};
    return if $text !~ /$modules/;
    return $text =~ /\A(.*(?:$modules))((?=\s).*|)\z/s ? ($1, $2) : $text =~ /\A(.*(?:$modules))/s;
}

sub rewriteProfile ($kind, $bytes, %arguments) {
    my %isManaged = map { $_ => 1 } @{$Records::flagsOf{$kind}}, @{$Records::numbersOf{$kind}};
    my @managed = ((grep { ($arguments{$_} // '') eq 'true' } @{$Records::flagsOf{$kind}}),
        map { "$_=$arguments{$_}" } grep { exists $arguments{$_} } @{$Records::numbersOf{$kind}});
    my $result = '';
    for my $line (linesOf($bytes)) {
        my ($head, $options) = moduleLine($kind, textOf($line));
        my @kept = grep { !$isManaged{(grep { $_ ne '' } split /=/)[0] // ''} } split ' ', $options // '';
        $result .= defined $head
            ? Encode::encode('UTF-8', join ' ', $head, @kept, @managed) . commentOf($line) . "\n"
            : $line;
    }
    return $result;
}

sub correctStack ($kind, $bytes, %arguments) {
    my $option = $kind eq 'common-auth' ? 'deny' : 'minlen';
    my $wanted = $arguments{$option} // 0;
    my $isCorrect = 1;
    my @lines = split /\n/, decoded($bytes), -1;
    for my $line (@lines) {
        next if !grep { index($line, $_) >= 0 } @{$Records::modulesOf{$kind}};
        my @numbers = $line =~ /\b$option=(\d+)\b/ag or next;
        next if @numbers == 1 && integerOf($numbers[0]) == $wanted;
        $line = join('', split /\b$option=\d+\b/a, $line) . " $option=$wanted";
        $isCorrect = 0;
    }
    return $isCorrect ? $bytes : Encode::encode('UTF-8', join "\n", @lines);
}

my %rewrite = (settings => \&rewriteSettings, profile => \&rewriteProfile, stack => \&correctStack);

binmode STDIN;
binmode STDOUT;
while (my ($bytes, $what, $kind, @arguments) = nextRecord()) {
    my $result = $rewrite{$what}->($kind, $bytes, map { split /=/ } @arguments);
    print length $result, "\n", $result;
}
