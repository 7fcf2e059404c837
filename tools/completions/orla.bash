# Completion of orla for bash. The tool itself says what may stand where the cursor is.
# shellcheck disable=SC2034,SC2088

_orla() {
  local cur prev words cword line quote=''
  _init_completion -n =: || return

  # As the shell would hand them over: without quotes, "~" in place.
  local i word given=()
  for ((i = 1; i <= cword; i++)); do
    word=${words[i]}
    [[ $word == [\"\']* ]] && word=${word#?} && word=${word%[\"\']}
    [[ $word == '~/'* ]] && word=$HOME/${word#'~/'}
    given+=("${word//\\/}")
  done
  [[ $cur == [\"\']* ]] && quote=${cur:0:1}

  if [[ $cur == --color=* ]]; then
    mapfile -t COMPREPLY < <(compgen -W 'auto always never' -- "${cur#*=}")
    return
  fi
  while IFS= read -r line; do
    if [[ $line == :files ]]; then
      _filedir
      continue
    fi
    line=${line%%$'\t'*}
    [[ $line == "${given[-1]}"* ]] || continue
    # A section or a key may hold anything. It is offered as a word that the shell takes as it is:
    # between quotes only where nothing in it ends them or is run.
    if [[ $quote == \' ]]; then
      [[ $line == *\'* ]] || COMPREPLY+=("$line")
    elif [[ $quote == \" ]]; then
      [[ $line == *[\"\$\`\\!]* ]] || COMPREPLY+=("$line")
    else
      printf -v line '%q' "$line"
      COMPREPLY+=("$line")
    fi
  done < <("$1" --complete "${given[@]}" 2>/dev/null)
  __ltrim_colon_completions "$cur"
} &&
  complete -F _orla orla
