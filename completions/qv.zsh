#compdef qv
# Completes command lines of qv in zsh. What can come next is for the program itself to say: a line
# for each word, with its help behind a tab.
local -a entries
local line behind=${words[(i)--]}

# Behind the -- stands a command line of its own.
if [[ $words[2] == secret ]] && ((behind < CURRENT)); then
  shift behind words
  ((CURRENT -= behind))
  _normal
  return
fi
for line in ${(f)"$(${~${(Q)words[1]}} __complete "${(@Q)words[2,CURRENT-1]}" "$PREFIX" 2>/dev/null)"}; do
  entries+=("${${line%%$'\t'*}//:/\\:}:${line#*$'\t'}")
done
_describe -V qv entries
