# Completion of orla for fish. The tool itself says what may stand where the cursor is.

function __orla_complete
    set -l words (commandline -opc)
    set -l current (commandline -ct)
    for line in ($words[1] --complete $words[2..-1] "$current" 2>/dev/null)
        if test "$line" = :files
            __fish_complete_path "$current"
        else
            echo $line
        end
    end
end

complete -c orla -f -a '(__orla_complete)'
