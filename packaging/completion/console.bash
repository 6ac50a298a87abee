
_vlm_test() {
  local words cur place key=first candidates=()
  COMPREPLY=()
  _vlm_split
  place=$((${#words[@]} - 1))
  # A parameter is known by its command and its place.
  if ((place > 2)) && [[ ${words[1]} == udp ]]; then
    key="udp ${words[2]} $((place - 2))"
  elif ((place > 1)); then
    [[ ${words[1]} == udp ]] && key=udp || key="${words[1]} $((place - 1))"
  fi
  if [[ ${_vlm_test_words[$key]-} ]]; then mapfile -t candidates <<<"${_vlm_test_words[$key]}"; fi
  _vlm_offer "${candidates[@]}"
}

complete -o nosort -F _vlm_test vlm_test
