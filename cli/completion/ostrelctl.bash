# Completion of ostrelctl in bash: ostrelctl itself says what there is.
_ostrelctl() {
    local line word
    COMPREPLY=()
    while IFS= read -r line; do
        if [[ $line == $'\tfiles' ]]; then
            compopt -o default
        else
            # Quoted, because bash inserts it as it is.
            printf -v word %q "${line%%$'\t'*}"
            COMPREPLY+=("$word")
        fi
    done < <("$1" __complete "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null)
}
complete -F _ostrelctl ostrelctl
