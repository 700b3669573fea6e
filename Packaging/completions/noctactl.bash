# Completion of noctactl for bash.

_noctactl() {
    local word=${COMP_WORDS[COMP_CWORD]} presets='natural focus dusk evening sleep cinema' choices=
    local switches='filterEnabled scheduleEnabled scheduleUsesLocation breaksEnabled launchAtLogin showMenuBarScore'
    local settings="$switches activePresetID customTemp customBrightness manualSunrise manualSunset
        breakIntervalMinutes breakDurationSeconds"
    local readable="$settings appProfiles exposureScore totalFilteredMinutes breaksTaken breaksSkipped activePresetName
        effectiveTemp effectiveBrightness breakShown timeUntilBreak frontApplication displayService displays presets
        version"
    case $COMP_CWORD in
    1) choices='status get set preset cycle profile break popover watch quit --help --version' ;;
    2)
        case ${COMP_WORDS[1]} in
        status) choices=--json ;;
        get) choices=$readable ;;
        set) choices=$settings ;;
        preset) choices=$presets ;;
        profile) choices='list set remove' ;;
        break) choices=skip ;;
        esac
        ;;
    3)
        case ${COMP_WORDS[1]}/${COMP_WORDS[2]} in
        set/activePresetID) choices=$presets ;;
        set/breakIntervalMinutes) choices='15 20 30 45 60' ;;
        set/breakDurationSeconds) choices='15 20 30 60' ;;
        set/*) [[ " $switches " != *" ${COMP_WORDS[2]} "* ]] || choices='true false toggle' ;;
        profile/set) choices=$(noctactl get frontApplication 2>/dev/null) ;;
        profile/remove) choices=$(noctactl profile list 2>/dev/null | cut -f1) ;;
        esac
        ;;
    4) [[ ${COMP_WORDS[1]}/${COMP_WORDS[2]} != profile/set ]] || choices=$presets ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$choices" -- "$word")
}

complete -F _noctactl noctactl
