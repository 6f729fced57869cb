# Completes command lines of qv in fish. What can come next is for the program itself to say: a line
# for each word, with its help behind a tab.
function __qv_complete
    set -l words (commandline -opc) (commandline -ct)
    # Behind the -- stands a command line of its own.
    if test "$words[2]" = secret; and set -l dashes (contains -i -- -- $words[1..-2])
        set -l rest $words[(math $dashes + 1)..-1]
        complete -C (string join ' ' (string escape -- $rest[1..-2]) $rest[-1])
    else
        $words[1] __complete $words[2..-1] 2>/dev/null
    end
end
complete -c qv -f -k -a '(__qv_complete)'
