
# Candidates come from the program itself, which asks no camera for them; where it knows none, a file
# is wanted.
_vlmctl() {
  local words cur matches
  COMPREPLY=()
  _vlm_split
  mapfile -t matches < <(vlmctl __complete "${words[@]:1}" 2>/dev/null)
  [[ ${#matches[@]} != 1 || ${matches[0]} != *= ]] || compopt -o nospace 2>/dev/null
  _vlm_reply "${matches[@]}"
}

complete -o default -F _vlmctl vlmctl
