# bash completion for morva.

_morva_names() {
  morva list "$1" 2>/dev/null | awk '{ print $1 }'
}

_morva_keys() {
  morva options 2>/dev/null | awk '{ print $1 "=" }'
}

_morva_flags() {
  local setting="--film --lens --paper --preset --set --options --crop --angle --rotate --mirror \
    --source-exposure --seed"
  local encoding="--format --bits --quality --force" notes="--keep --no-metadata"
  local backend="--backend --profile"
  case $1 in
    render) echo "--help --again --output --json --quiet --save-options $setting $encoding $notes $backend" ;;
    plan) echo "--help --again --json $setting" ;;
    sheet) echo "--help --again --output --json --quiet --vary --cell $setting $encoding $backend" ;;
    batch) echo "--help --output --name --jobs --keep-going --skip-existing --json --quiet $setting $encoding $notes $backend" ;;
    demo) echo "--help --output --json --quiet $encoding" ;;
    list | options | info | probe) echo "--help --json" ;;
    schema) echo "--help" ;;
    *) echo "--help --version" ;;
  esac
}

_morva() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} verb=${COMP_WORDS[1]}
  COMPREPLY=()
  if [ "$COMP_CWORD" -eq 1 ]; then
    mapfile -t COMPREPLY < <(compgen -W "render plan sheet batch list options schema info demo probe \
      $(_morva_flags)" -- "$word")
    return
  fi
  local words=
  case $before in
    --film) words=$(_morva_names films) ;;
    --lens) words=$(_morva_names lenses) ;;
    --paper) words=$(_morva_names papers) ;;
    --preset) words=$(_morva_names presets) ;;
    --set) words=$(_morva_keys) && compopt -o nospace ;;
    --vary) words="film= lens= paper= preset= $(_morva_keys)" && compopt -o nospace ;;
    --source-exposure) words="auto as_shot highlights shadows off" ;;
    --rotate) words="90 180 270" ;;
    --format) words="png tif jpg exr" ;;
    --bits) words="8 16 32f" ;;
    --keep) words=exif ;;
    --backend) words="cpu gpu gpu-warp" ;;
    --angle | --crop | --seed | --quality | --cell | --jobs | -j | --name) return ;;
    *)
      if [[ $word == -* ]]; then
        words=$(_morva_flags "$verb")
      elif [ "$verb" = list ]; then
        words="films lenses papers filters presets"
      fi
      ;;
  esac
  if [ -n "$words" ]; then
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
  else
    compopt -o filenames
    mapfile -t COMPREPLY < <(compgen -f -- "$word")
  fi
}

complete -F _morva morva
