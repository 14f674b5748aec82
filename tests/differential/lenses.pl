#!/usr/bin/perl
# SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
# SPDX-License-Identifier: LGPL-2.1-or-later

# A reading of the policies' files by the lenses of Augeas, see augtool(1). The input and the output are those of
# reading.pl; a file that a lens can't read gives the line "refused". Lenses know more of the formats than the
# policies do, and less of what may stand around a setting, so they are asked about plain files only.

use v5.36;
use FindBin;
use lib $FindBin::Bin;
use File::Temp qw(tempdir);
use IPC::Open2 qw(open2);
use Records;
use Time::Local qw(timegm_modern);

my %lensOf = (
    'login.defs' => 'Login_defs',
    useradd => 'Shellvars',
    'common-auth' => 'Pam',
    'common-password' => 'Pam',
);
my %keyOf = (
    PASS_MAX_DAYS => 'maxInterval',
    PASS_MIN_DAYS => 'minInterval',
    PASS_WARN_AGE => 'warningInterval',
    INACTIVE => 'inactiveInterval',
    EXPIRE => 'expireDate',
);
my $root = tempdir(CLEANUP => 1);

# By the records' numbers: [path within the file, value] of each node, and whether the lens refused the file.
sub nodesOf (@records) {
    for my $number (0 .. $#records) {
        my ($bytes, $kind) = @{$records[$number]};
        mkdir "$root/$kind";
        open my $file, '>:raw', "$root/$kind/$number" or die "$root/$kind/$number: $!\n";
        print $file $bytes;
        close $file or die "$root/$kind/$number: $!\n";
    }
    my $process = open2(my $output, my $input, 'augtool', '--noautoload', '--root', $root);
    say $input "set /augeas/load/$_/lens $lensOf{$_}.lns\nset /augeas/load/$_/incl /$_/*"
        for grep { -d "$root/$_" } keys %lensOf;
    say $input "load\nprint /files\nprint /augeas/files//error";
    close $input;
    my (%nodes, %isRefused);
    while (my $line = <$output>) {
        $isRefused{$1} = 1 if $line =~ m{^/augeas/files/[^/]+/(\d+)/error = };
        my ($number, $path, $value) = $line =~ m{^/files/[^/]+/(\d+)/(.*?)(?: = "(.*)")?$} or next;
        push @{$nodes{$number}}, [$path, $value // ''];
    }
    waitpid $process, 0;
    die "augtool failed\n" if $?;
    return (\%nodes, \%isRefused);
}

sub settingOf ($name, $value) {
    return ($keyOf{$name} => integerOf($value)) if $name ne 'EXPIRE';
    my ($year, $month, $day) = $value =~ /^([0-9]+)-([0-9]+)-([0-9]+)$/ or return;
    return (expireDate => timegm_modern(0, 0, 0, $day, $month - 1, $year) / 86400);
}

sub optionOf ($kind, $argument) {
    my ($name, $value) = split /=/, $argument, 2;
    return ($name => 'true') if grep { $_ eq $name } @{$Records::flagsOf{$kind}};
    return ($name => integerOf($value // 0)) if grep { $_ eq $name } @{$Records::numbersOf{$kind}};
    return;
}

sub readNodes ($kind, @nodes) {
    my ($inModule, $found, %values) = (0, 0);
    for my $node (@nodes) {
        my ($name, $value) = ($node->[0] =~ s/\[\d+\]//gr, $node->[1]);
        if ($keyOf{$name}) {
            %values = (%values, settingOf($name, $value));
        } elsif ($name =~ m{^\d+/module$}) {
            $inModule = grep { $value =~ m{(^|/)\Q$_\E$} } @{$Records::modulesOf{$kind}};
            $found ||= $inModule;
        } elsif ($name =~ m{^\d+/argument$} && $inModule) {
            %values = (%values, optionOf($kind, $value));
        }
    }
    return outcomeOf($kind, $found, %values);
}

binmode STDIN;
my @records;
while (my @record = nextRecord()) {
    push @records, \@record;
}
my ($nodes, $isRefused) = nodesOf(@records);
for my $number (0 .. $#records) {
    say $isRefused->{$number} ? 'refused' : readNodes($records[$number][1], @{$nodes->{$number} // []});
}
