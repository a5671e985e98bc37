# Completion of ostrelctl in bash: ostrelctl itself says what there is.
_ostrelctl() {
    local line
    COMPREPLY=()
    while IFS= read -r line; do
        if [[ $line == $'\tfiles' ]]; then
            compopt -o default
        else
            COMPREPLY+=("${line%%$'\t'*}")
        fi
    done < <("$1" __complete "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null)
}
complete -F _ostrelctl ostrelctl
