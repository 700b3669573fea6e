# Completion of noctactl for fish.

set -l presets natural focus dusk evening sleep cinema
set -l switches filterEnabled scheduleEnabled scheduleUsesLocation breaksEnabled launchAtLogin showMenuBarScore
set -l settings $switches activePresetID customTemp customBrightness manualSunrise manualSunset \
    breakIntervalMinutes breakDurationSeconds
set -l readable $settings appProfiles exposureScore totalFilteredMinutes breaksTaken breaksSkipped activePresetName \
    effectiveTemp effectiveBrightness breakShown timeUntilBreak frontApplication displayService displays presets version

# Whether the words before the cursor, without the program, are exactly these; a dot stands for any one.
function __noctactl_after
    set -l words (commandline -opc)[2..]
    test (count $words) -eq (count $argv); or return 1
    for i in (seq (count $argv))
        test "$argv[$i]" = . -o "$argv[$i]" = "$words[$i]"; or return 1
    end
end

complete -c noctactl -f
complete -c noctactl -n __noctactl_after -a status -d 'What Nocta does at the moment'
complete -c noctactl -n __noctactl_after -a get -d 'The value of a property, or of all of them'
complete -c noctactl -n __noctactl_after -a set -d 'Change a setting'
complete -c noctactl -n __noctactl_after -a preset -d 'Choose a preset, or list them'
complete -c noctactl -n __noctactl_after -a cycle -d 'Go to the next preset'
complete -c noctactl -n __noctactl_after -a profile -d 'Presets of applications'
complete -c noctactl -n __noctactl_after -a break -d Breaks
complete -c noctactl -n __noctactl_after -a popover -d 'Open the popover'
complete -c noctactl -n __noctactl_after -a watch -d 'One line of JSON now and at every change'
complete -c noctactl -n __noctactl_after -a quit -d 'End Nocta'
complete -c noctactl -n __noctactl_after -l help -d 'How it is used'
complete -c noctactl -n __noctactl_after -l version -d 'Its version'
complete -c noctactl -n '__noctactl_after status' -l json -d 'As one JSON object'
complete -c noctactl -n '__noctactl_after get' -a "$readable"
complete -c noctactl -n '__noctactl_after set' -a "$settings"
complete -c noctactl -n '__noctactl_after preset' -a "$presets"
complete -c noctactl -n '__noctactl_after profile' -a 'list set remove'
complete -c noctactl -n '__noctactl_after break' -a skip
complete -c noctactl -n '__noctactl_after set activePresetID' -a "$presets"
complete -c noctactl -n '__noctactl_after set breakIntervalMinutes' -a '15 20 30 45 60'
complete -c noctactl -n '__noctactl_after set breakDurationSeconds' -a '15 20 30 60'
for switch in $switches
    complete -c noctactl -n "__noctactl_after set $switch" -a 'true false toggle'
end
complete -c noctactl -n '__noctactl_after profile set' -a '(noctactl get frontApplication 2>/dev/null)'
complete -c noctactl -n '__noctactl_after profile remove' -a '(noctactl profile list 2>/dev/null | cut -f1)'
complete -c noctactl -n '__noctactl_after profile set .' -a "$presets"
