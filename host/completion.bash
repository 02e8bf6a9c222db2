# Completion of qv_inspect for bash.
_qv_inspect() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} places
  local options="--help --version --depth --details --filter --grep --json --list --html --value --extract --save --convert
    --object --lenient --kind --json-true --json-false --json-null --json-arrays"
  local IFS=$' \t\n'
  COMPREPLY=()
  case $before in
    --kind) mapfile -t COMPREPLY < <(compgen -W "auto object dict model3d dlmodel" -- "$word") ;;
    --json-arrays) mapfile -t COMPREPLY < <(compgen -W "tuple dict" -- "$word") ;;
    --filter) mapfile -t COMPREPLY < <(compgen -W "array dict image integer object real region string value xld" -- "$word") ;;
    --value | --extract | --save)
      # The places in the file that the line names already; a tree of any size would take too long.
      places=$(timeout 2 qv_inspect "${COMP_WORDS[1]}" --list 2>/dev/null | head -n 2000 | cut -f 1)
      IFS=$'\n'
      mapfile -t COMPREPLY < <(compgen -W "$places" -- "$word")
      ;;
    --depth | --grep | --object | --json-true | --json-false | --json-null) ;;
    *)
      if [[ $word == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
      else
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
      fi
      ;;
  esac
}
complete -F _qv_inspect qv_inspect
