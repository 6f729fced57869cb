# Completes command lines of qv in bash from 3.2 on. What can come next is for the program itself to
# say: a line for each word, with its help behind a tab.
_qv() {
  # Bash takes words apart at = and @; what no blank separates is one word again here. The last
  # one ends at the cursor.
  local words=() rest=${COMP_LINE:0:COMP_POINT} piece i last=-1
  for ((i = 0; i <= COMP_CWORD; i++)); do
    if ((i == 0)) || [[ $rest == [[:space:]]* ]]; then
      words[++last]=
    fi
    rest=${rest#"${rest%%[![:space:]]*}"}
    piece=${COMP_WORDS[i]}
    if ((${#piece} > ${#rest})); then
      piece=$rest
    fi
    words[last]+=$piece
    rest=${rest#"$piece"}
  done

  COMPREPLY=()
  # Behind the -- stands a command line of its own.
  if [[ ${words[1]} == secret && " ${words[*]:2} " == *' -- '* ]]; then
    compopt -o bashdefault -o default 2>/dev/null
    return
  fi
  local typed=${words[last]} word help
  local kept=${typed%"${typed##*[$COMP_WORDBREAKS]}"}
  while IFS=$'\t' read -r word help; do
    if [[ $word == "$typed"* ]]; then
      COMPREPLY+=("${word#"$kept"}")
    fi
  done < <("${words[0]/#~\//$HOME/}" __complete "${words[@]:1}" 2>/dev/null)
}
complete -o nosort -F _qv qv 2>/dev/null || complete -F _qv qv
