# fish completion for morva.

function __morva_names
    morva list $argv[1] 2>/dev/null | awk '{ print $1 }'
end

function __morva_keys
    morva options 2>/dev/null | awk '{ print $1 "=" }'
end

set -l verbs render plan sheet batch list options schema info demo probe
complete -c morva -n "not __fish_seen_subcommand_from $verbs" -f -a "$verbs"
complete -c morva -n "not __fish_seen_subcommand_from $verbs" -l version -d 'Version'
complete -c morva -l help -d 'Help'
complete -c morva -n '__fish_seen_subcommand_from list' -f -a 'films lenses papers filters presets'

complete -c morva -n '__fish_seen_subcommand_from render plan sheet batch' -l film -d 'Film' -x -a '(__morva_names films)'
complete -c morva -n '__fish_seen_subcommand_from render plan sheet batch' -l lens -d 'Lens' -x -a '(__morva_names lenses)'
complete -c morva -n '__fish_seen_subcommand_from render plan sheet batch' -l paper -d 'Paper' -x -a '(__morva_names papers)'
complete -c morva -n '__fish_seen_subcommand_from render plan sheet batch' -l preset -d 'Preset, file or rendered picture' -r -a '(__morva_names presets)'
complete -c morva -n '__fish_seen_subcommand_from render plan sheet batch' -l set -d 'Set an option' -x -a '(__morva_keys)'
complete -c morva -n '__fish_seen_subcommand_from render plan sheet batch' -l options -d 'Options from a file' -r
complete -c morva -n '__fish_seen_subcommand_from render plan sheet batch' -l crop -d 'Part of the picture' -x
complete -c morva -n '__fish_seen_subcommand_from render plan sheet batch' -l angle -d 'Straighten' -x
complete -c morva -n '__fish_seen_subcommand_from render plan sheet batch' -l rotate -d 'Turn clockwise' -x -a '90 180 270'
complete -c morva -n '__fish_seen_subcommand_from render plan sheet batch' -l mirror -d 'Flip left to right'
complete -c morva -n '__fish_seen_subcommand_from render plan sheet batch' -l source-exposure -d 'Metering' -x -a 'auto as_shot highlights shadows off'
complete -c morva -n '__fish_seen_subcommand_from render plan sheet batch' -l seed -d 'Seed of everything random' -x
complete -c morva -n '__fish_seen_subcommand_from render plan sheet' -l again -d 'From a rendered picture'
complete -c morva -n '__fish_seen_subcommand_from render' -l save-options -d 'Write a preset' -r
complete -c morva -n '__fish_seen_subcommand_from sheet' -l vary -d 'What differs' -x -a 'film= lens= paper= preset= (__morva_keys)'
complete -c morva -n '__fish_seen_subcommand_from sheet' -l cell -d 'Long side of each' -x
complete -c morva -n '__fish_seen_subcommand_from batch' -l name -d 'Names of the files' -x
complete -c morva -n '__fish_seen_subcommand_from batch' -s j -l jobs -d 'Renders at a time' -x
complete -c morva -n '__fish_seen_subcommand_from batch' -l keep-going -d 'Go on after a failure'
complete -c morva -n '__fish_seen_subcommand_from batch' -l skip-existing -d 'Leave out what is there'
complete -c morva -n '__fish_seen_subcommand_from render sheet batch demo' -s o -l output -d 'Where to write' -r
complete -c morva -n '__fish_seen_subcommand_from render sheet batch demo' -l format -d 'File format' -x -a 'png tif jpg exr'
complete -c morva -n '__fish_seen_subcommand_from render sheet batch demo' -l bits -d 'Samples' -x -a '8 16 32f'
complete -c morva -n '__fish_seen_subcommand_from render sheet batch demo' -l quality -d 'JPEG quality' -x
complete -c morva -n '__fish_seen_subcommand_from render sheet batch demo' -l force -d 'Write over an existing file'
complete -c morva -n '__fish_seen_subcommand_from render batch' -l keep -d 'Carry over' -x -a exif
complete -c morva -n '__fish_seen_subcommand_from render batch' -l no-metadata -d 'Leave the setting out of the file'
complete -c morva -n '__fish_seen_subcommand_from render sheet batch' -l backend -d 'What renders' -x -a 'cpu gpu gpu-warp'
complete -c morva -n '__fish_seen_subcommand_from render sheet batch' -l profile -d 'Where the time went on the GPU'
complete -c morva -n '__fish_seen_subcommand_from render plan sheet batch demo list options info probe' -l json -d 'Report as JSON'
complete -c morva -n '__fish_seen_subcommand_from render sheet batch demo' -l quiet -d 'Say nothing'
