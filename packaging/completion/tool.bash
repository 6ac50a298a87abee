
# _vlm_tool OPERAND OPTION...: OPERAND is what the program works on, or empty; an OPTION reads
# "--name  help". The caller's `values` holds what options take.
_vlm_tool() {
  local words cur kind=$1 prefix="" found=()
  shift
  COMPREPLY=()
  _vlm_split
  if [[ $cur == --*=* ]]; then
    prefix=${cur%%=*}=
    kind=${values[${prefix%=}]-}
  elif [[ ${values[${words[-2]}]-} ]]; then
    kind=${values[${words[-2]}]}
  elif [[ $cur == -* ]]; then
    _vlm_offer "$@"
    return
  fi
  case $kind in
    FILE) mapfile -t found < <(compgen -f -- "${cur#"$prefix"}") ;;
    DIR | DIRECTORY) mapfile -t found < <(compgen -d -- "${cur#"$prefix"}") ;;
    *) return ;;
  esac
  # Outside of readline, where tests are, there are no such settings.
  compopt -o filenames 2>/dev/null
  _vlm_reply "${found[@]/#/"$prefix"}"
}
