#!/usr/bin/perl
# SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
# SPDX-License-Identifier: LGPL-2.1-or-later

# A second reading of the policies' files. It shares neither code nor patterns with the first: it looks for names by
# their places and takes the text behind them apart step by step.
#
# Standard input: records of "KIND LENGTH\n" and as many bytes. Standard output: a line with the outcome for each.

use v5.36;
use FindBin;
use lib $FindBin::Bin;
use Records;
use Time::Local qw(timegm_modern);

my %keyOf = (
    PASS_MAX_DAYS => 'maxInterval',
    PASS_MIN_DAYS => 'minInterval',
    PASS_WARN_AGE => 'warningInterval',
);

# All [place, name] at which one of the names stands, from left to right.
sub placesOf ($text, @names) {
    my @places;
    for my $name (@names) {
        for (my $place = index $text, $name; $place >= 0; $place = index $text, $name, $place + 1) {
            push @places, [$place, $name];
        }
    }
    return sort { $a->[0] <=> $b->[0] } @places;
}

sub behind ($text, $place) {
    return substr $text, $place->[0] + length $place->[1];
}

# The digits at the beginning, after a minus where there may be one; empty if there are none. Characters outside of
# Unicode's first plane are no digits.
sub numberAt ($text, $mayBeNegative) {
    my $minus = $mayBeNegative && substr($text, 0, 1) eq '-' ? '-' : '';
    my $digits = (split /\D|[\x{10000}-\x{10FFFF}]/, substr($text, length $minus), 2)[0] // '';
    return $digits eq '' ? '' : $minus . $digits;
}

sub dayOf ($text) {
    my ($year, $month, $day) = $text =~ /\A([0-9]{4})-([0-9]{2})-([0-9]{2})\z/ or return;
    return if $year == 0;
    my $seconds = eval { timegm_modern(0, 0, 0, $day, $month - 1, $year) } // return;
    return $seconds / 86400;
}

sub readLoginDefs ($text, $values) {
    for my $place (placesOf($text, keys %keyOf)) {
        my $number = numberAt(behind($text, $place) =~ s/^\s+//r, 1);
        next if $number eq '';
        $values->{$keyOf{$place->[1]}} = integerOf($number);
        return;
    }
}

sub readUseradd ($text, $values) {
    for my $place (placesOf($text, 'INACTIVE', 'EXPIRE')) {
        my $rest = behind($text, $place) =~ s/^\s+//r;
        next if substr($rest, 0, 1) ne '=';
        my $value = (split /\s/, substr($rest, 1) =~ s/^\s+//r, 2)[0] // '';
        if ($place->[1] eq 'INACTIVE') {
            $values->{inactiveInterval} = integerOf($value);
        } elsif (defined(my $day = dayOf($value))) {
            $values->{expireDate} = $day;
        }
        return;
    }
}

# The options of the line's module; nothing if the line has none. Where it names modules more than once, those behind
# the first that stands alone.
sub optionsIn ($kind, $text) {
    my @places = placesOf($text, @{$Records::modulesOf{$kind}}) or return;
    for my $rest (map { behind($text, $_) } @places) {
        return [split ' ', $rest] if $rest =~ /\A(\s|\z)/;
    }
    return [];
}

sub readOption ($kind, $option, $values) {
    my %isFlag = map { $_ => 1 } @{$Records::flagsOf{$kind}};
    my ($place) = placesOf($option, keys %isFlag, @{$Records::numbersOf{$kind}}) or return;
    my $value = behind($option, $place) =~ s/^=//r;
    my $number = numberAt($value, $kind eq 'common-password');
    $values->{$place->[1]} = $isFlag{$place->[1]} ? 'true' : integerOf($number);
}

binmode STDIN;
while (my ($bytes, $kind) = nextRecord()) {
    my ($found, %values) = (0);
    for my $text (map { textOf($_) } linesOf($bytes)) {
        if ($kind eq 'login.defs') {
            readLoginDefs($text, \%values);
        } elsif ($kind eq 'useradd') {
            readUseradd($text, \%values);
        } elsif (my $options = optionsIn($kind, $text)) {
            $found = 1;
            readOption($kind, $_, \%values) for @$options;
        }
    }
    say outcomeOf($kind, $found, %values);
}
