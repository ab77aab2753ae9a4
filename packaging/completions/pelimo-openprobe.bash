# bash completion for pelimo-openprobe

_pelimo_openprobe()
{
    local cur prev words cword
    _init_completion -n : || return
    local word
    for word in "${words[@]:1:cword-1}"; do
        [[ $word != -- ]] || return 0 # what follows is the program's
    done
    [[ $cword -eq 1 ]] || return 0
    case $cur in
    -*) COMPREPLY=($(compgen -W '--help --list --version --' -- "$cur")) ;;
    pid:*) COMPREPLY=($(compgen -P pid: -W "$(ps -o pid= -u "$UID")" -- "${cur#pid:}")) ;;
    gdb:* | tcl:*) COMPREPLY=($(compgen -P "${cur%%:*}:" -A hostname -- "${cur#*:}")) ;;
    *)
        COMPREPLY=($(compgen -W 'gdb: tcl: pid: sim sim:1 sim:2 sim:3 localhost' -- "$cur"))
        [[ ${COMPREPLY-} != *: ]] || compopt -o nospace
        ;;
    esac
    __ltrim_colon_completions "$cur"
} && complete -F _pelimo_openprobe pelimo-openprobe
