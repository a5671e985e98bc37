# Completion of ostrelctl in fish: ostrelctl itself says what there is.
function __ostrelctl_complete
    set -l words (commandline -opc)
    set -l word (commandline -ct)
    for line in ($words[1] __complete $words[2..-1] "$word" 2>/dev/null)
        if test "$line" = \tfiles
            __fish_complete_path $word
        else
            echo $line
        end
    end
end
complete -c ostrelctl -f -a '(__ostrelctl_complete)'
