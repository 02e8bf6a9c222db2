# Completion of qv_inspect for bash. Keys in a file are untrusted text: the shell never expands them.

# Sets `word` to a word of the command line without its quotes; nothing in it is run.
_qv_inspect_unquoted() {
  case $1 in
    \'*) word=${1//\'/} ;;
    \"*) word=${1//\"/} word=${word//\\/} ;;
    *) word=${1//\\/} word=${word/#\~\//${HOME-}/} ;;
  esac
}

# Puts the places that begin with $1 into COMPREPLY, quoted; they are those of the first file on the line.
_qv_inspect_places() {
  local i file= word wanted place
  for ((i = 1; i < ${#COMP_WORDS[@]} && ! ${#file}; ++i)); do
    case ${COMP_WORDS[i - 1]} in --depth | --filter | --grep | --html | --convert | --kind | --object | --json-*) continue ;; esac
    [[ $i == "$COMP_CWORD" || ${COMP_WORDS[i]} == -* ]] && continue
    _qv_inspect_unquoted "${COMP_WORDS[i]}"
    [[ -f $word ]] && file=$word
  done
  _qv_inspect_unquoted "$1"
  wanted=$word
  # A tree of any size would take too long.
  while IFS= read -r place; do
    [[ ${place:0:${#wanted}} == "$wanted" ]] || continue
    case $1 in # in quotes, only what the shell leaves alone there
      \'*) [[ $place == *\'* ]] && continue ;;
      \"*) [[ $place == *[\"\$\`\\!]* ]] && continue ;;
      *) printf -v place %q "$place" ;;
    esac
    COMPREPLY+=("$place")
  done < <([[ -n $file ]] && timeout 2 qv_inspect "$file" --list 2>/dev/null | head -n 2000 | cut -f 1)
}

_qv_inspect() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
  local options="--help --version --depth --details --filter --grep --json --diff --list --html --value --extract --save --convert
    --object --lenient --force --kind --json-true --json-false --json-null --json-arrays"
  local IFS=$' \t\n'
  COMPREPLY=()
  case $before in
    --kind) mapfile -t COMPREPLY < <(compgen -W "auto object dict model3d dlmodel" -- "$word") ;;
    --json-arrays) mapfile -t COMPREPLY < <(compgen -W "tuple dict" -- "$word") ;;
    --filter) mapfile -t COMPREPLY < <(compgen -W "array dict image integer object real region string value xld" -- "$word") ;;
    --value | --extract | --save) _qv_inspect_places "$word" ;;
    --depth | --grep | --object | --json-true | --json-false | --json-null) ;;
    *)
      if [[ $word == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
        return
      fi
      # What follows --save is more places or the output.
      local i=$((COMP_CWORD - 1))
      while ((i > 0)) && [[ ${COMP_WORDS[i]} != -* ]]; do i=$((i - 1)); done
      [[ ${COMP_WORDS[i]} == --save ]] && _qv_inspect_places "$word"
      if ! ((${#COMPREPLY[@]})); then
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
      fi
      ;;
  esac
}
complete -F _qv_inspect qv_inspect
