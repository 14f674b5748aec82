# SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
# SPDX-License-Identifier: LGPL-2.1-or-later
#
# fish completion; the tool itself knows its words

function __accountpolicyctl_candidates
    set -l typed (commandline -opc) (commandline -ct)
    for candidate in (accountpolicyctl complete -- $typed[2..-1] 2>/dev/null)
        if test $candidate = '<file>'
            __fish_complete_path (commandline -ct)
        else
            printf '%s\n' $candidate
        end
    end
end
complete -c accountpolicyctl -f -a '(__accountpolicyctl_candidates)'
