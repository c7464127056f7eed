<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE" sourcelanguage="en_US">
<context>
    <name></name>
    <message id="common.cancel">
        <source>Cancel</source>
        <extracomment>Cancel button</extracomment>
        <translation>Abbrechen</translation>
    </message>
    <message id="common.ok">
        <source>OK</source>
        <extracomment>OK button</extracomment>
        <translation>OK</translation>
    </message>
    <message id="common.done">
        <source>Done</source>
        <extracomment>Done button</extracomment>
        <translation>Fertig</translation>
    </message>
    <message id="common.error">
        <source>Error</source>
        <extracomment>Error title</extracomment>
        <translation>Fehler</translation>
    </message>
    <message id="common.retry">
        <source>Retry</source>
        <extracomment>Retry button</extracomment>
        <translation>Erneut versuchen</translation>
    </message>
    <message id="landing.appTitle">
        <source>Editor</source>
        <extracomment>App title on landing screen</extracomment>
        <translation>Editor</translation>
    </message>
    <message id="landing.appSubtitle">
        <source>Photo &amp; Video</source>
        <extracomment>App subtitle on landing screen</extracomment>
        <translation>Foto &amp; Video</translation>
    </message>
    <message id="landing.selectMedia">
        <source>Select Media</source>
        <extracomment>Select media button</extracomment>
        <translation>Medien auswählen</translation>
    </message>
    <message id="editor.editTitle">
        <source>Edit</source>
        <extracomment>Editor screen title</extracomment>
        <translation>Bearbeiten</translation>
    </message>
    <message id="export.exporting">
        <source>Exporting...</source>
        <extracomment>Export progress title</extracomment>
        <translation>Wird exportiert …</translation>
    </message>
    <message id="export.errorTitle">
        <source>Export Failed</source>
        <extracomment>Export error alert title</extracomment>
        <translation>Export fehlgeschlagen</translation>
    </message>
    <message id="export.errorMessage">
        <source>Unable to export your media. Please try again.</source>
        <extracomment>Export error alert message</extracomment>
        <translation>Deine Medien konnten nicht exportiert werden. Bitte versuche es erneut.</translation>
    </message>
    <message id="import.importing">
        <source>Importing...</source>
        <extracomment>Import progress title</extracomment>
        <translation>Wird importiert …</translation>
    </message>
    <message id="import.errorTitle">
        <source>Unable to Open</source>
        <extracomment>Import error alert title</extracomment>
        <translation>Öffnen nicht möglich</translation>
    </message>
    <message id="import.errorMessage">
        <source>This media could not be loaded. Please try a different file.</source>
        <extracomment>Import error alert message</extracomment>
        <translation>Diese Medien konnten nicht geladen werden. Bitte wähle eine andere Datei.</translation>
    </message>
    <message id="import.noPhotosAvailable">
        <source>No Photos Available</source>
        <extracomment>Empty state when limited library has no assets</extracomment>
        <translation>Keine Fotos verfügbar</translation>
    </message>
    <message id="adjust.brightness">
        <source>Brightness</source>
        <extracomment>Brightness adjustment</extracomment>
        <translation>Helligkeit</translation>
    </message>
    <message id="adjust.contrast">
        <source>Contrast</source>
        <extracomment>Contrast adjustment</extracomment>
        <translation>Kontrast</translation>
    </message>
    <message id="adjust.saturation">
        <source>Saturation</source>
        <extracomment>Saturation adjustment</extracomment>
        <translation>Sättigung</translation>
    </message>
    <message id="adjust.exposure">
        <source>Exposure</source>
        <extracomment>Exposure adjustment</extracomment>
        <translation>Belichtung</translation>
    </message>
    <message id="adjust.gamma">
        <source>Gamma</source>
        <extracomment>Gamma adjustment</extracomment>
        <translation>Gamma</translation>
    </message>
    <message id="adjust.highlights">
        <source>Highlights</source>
        <extracomment>Highlights adjustment</extracomment>
        <translation>Lichter</translation>
    </message>
    <message id="adjust.shadows">
        <source>Shadows</source>
        <extracomment>Shadows adjustment</extracomment>
        <translation>Tiefen</translation>
    </message>
    <message id="adjust.blacks">
        <source>Blacks</source>
        <extracomment>Blacks adjustment</extracomment>
        <translation>Schwarz</translation>
    </message>
    <message id="adjust.whites">
        <source>Whites</source>
        <extracomment>Whites adjustment</extracomment>
        <translation>Weiß</translation>
    </message>
    <message id="adjust.warmth">
        <source>Warmth</source>
        <extracomment>Warmth/temperature adjustment</extracomment>
        <translation>Wärme</translation>
    </message>
    <message id="adjust.tint">
        <source>Tint</source>
        <extracomment>Tint adjustment</extracomment>
        <translation>Tönung</translation>
    </message>
    <message id="adjust.sharpen">
        <source>Sharpen</source>
        <extracomment>Sharpen adjustment</extracomment>
        <translation>Schärfen</translation>
    </message>
    <message id="adjust.clarity">
        <source>Clarity</source>
        <extracomment>Clarity adjustment</extracomment>
        <translation>Klarheit</translation>
    </message>
    <message id="adjust.vibrance">
        <source>Vibrance</source>
        <extracomment>Vibrance adjustment</extracomment>
        <translation>Dynamik</translation>
    </message>
    <message id="adjust.vignette">
        <source>Vignette</source>
        <extracomment>Vignette adjustment</extracomment>
        <translation>Vignette</translation>
    </message>
    <message id="adjust.vignetteSize">
        <source>Vig. Size</source>
        <extracomment>Vignette size adjustment</extracomment>
        <translation>Vig.-Größe</translation>
    </message>
    <message id="adjust.resetAll">
        <source>Reset All</source>
        <extracomment>Reset all adjustments button</extracomment>
        <translation>Alle zurücksetzen</translation>
    </message>
    <message id="adjust.kelvinFormat">
        <source>%d K</source>
        <extracomment>Color temperature in Kelvin — %d is the numeric value</extracomment>
        <translation>%d K</translation>
    </message>
    <message id="focus.amount">
        <source>Amount</source>
        <extracomment>Focus amount slider</extracomment>
        <translation>Stärke</translation>
    </message>
    <message id="focus.feather">
        <source>Feather</source>
        <extracomment>Focus feather slider</extracomment>
        <translation>Weiche Kante</translation>
    </message>
    <message id="focus.angle">
        <source>Angle</source>
        <extracomment>Focus angle slider</extracomment>
        <translation>Winkel</translation>
    </message>
    <message id="focus.blades">
        <source>Blades</source>
        <extracomment>Focus iris blades slider</extracomment>
        <translation>Lamellen</translation>
    </message>
    <message id="focus.highlights">
        <source>Highlights</source>
        <extracomment>Focus bokeh highlights slider</extracomment>
        <translation>Lichter</translation>
    </message>
    <message id="focus.depth">
        <source>Depth</source>
        <extracomment>Focus depth mix slider</extracomment>
        <translation>Tiefe</translation>
    </message>
    <message id="focus.sensitivity">
        <source>Sensitivity</source>
        <extracomment>Focus edge sensitivity slider</extracomment>
        <translation>Empfindlichkeit</translation>
    </message>
    <message id="focusMode.off">
        <source>Off</source>
        <extracomment>Focus off</extracomment>
        <translation>Aus</translation>
    </message>
    <message id="focusMode.radial">
        <source>Radial</source>
        <extracomment>Radial focus mode</extracomment>
        <translation>Radial</translation>
    </message>
    <message id="focusMode.linear">
        <source>Linear</source>
        <extracomment>Linear focus mode</extracomment>
        <translation>Linear</translation>
    </message>
    <message id="focusMode.mirrored">
        <source>Mirrored</source>
        <extracomment>Mirrored focus mode</extracomment>
        <translation>Gespiegelt</translation>
    </message>
    <message id="focusMode.gaussian">
        <source>Gaussian</source>
        <extracomment>Gaussian focus mode</extracomment>
        <translation>Gauß</translation>
    </message>
    <message id="focusMode.zoom">
        <source>Zoom</source>
        <extracomment>Zoom focus mode</extracomment>
        <translation>Zoom</translation>
    </message>
    <message id="focusMode.motion">
        <source>Motion</source>
        <extracomment>Motion focus mode</extracomment>
        <translation>Bewegung</translation>
    </message>
    <message id="focusMode.bokeh">
        <source>Bokeh</source>
        <extracomment>Bokeh focus mode</extracomment>
        <translation>Bokeh</translation>
    </message>
    <message id="focusMode.iris">
        <source>Iris</source>
        <extracomment>Iris blades focus mode</extracomment>
        <translation>Blende</translation>
    </message>
    <message id="focusMode.depth">
        <source>Depth</source>
        <extracomment>Depth focus mode</extracomment>
        <translation>Tiefe</translation>
    </message>
    <message id="focusMode.edge">
        <source>Edge</source>
        <extracomment>Edge protect focus mode</extracomment>
        <translation>Kanten</translation>
    </message>
    <message id="tool.adjust">
        <source>Adjust</source>
        <extracomment>Adjust tool</extracomment>
        <translation>Anpassen</translation>
    </message>
    <message id="tool.audio">
        <source>Audio</source>
        <extracomment>Audio tool</extracomment>
        <translation>Audio</translation>
    </message>
    <message id="tool.transform">
        <source>Transform</source>
        <extracomment>Transform tool</extracomment>
        <translation>Transformieren</translation>
    </message>
    <message id="tool.filter">
        <source>Filter</source>
        <extracomment>Filter tool</extracomment>
        <translation>Filter</translation>
    </message>
    <message id="tool.focus">
        <source>Focus</source>
        <extracomment>Focus tool</extracomment>
        <translation>Fokus</translation>
    </message>
    <message id="tool.trim">
        <source>Trim</source>
        <extracomment>Trim tool</extracomment>
        <translation>Kürzen</translation>
    </message>
    <message id="tool.trimStart">
        <source>Trim start</source>
        <extracomment>Trim start handle</extracomment>
        <translation>Anfang kürzen</translation>
    </message>
    <message id="tool.trimEnd">
        <source>Trim end</source>
        <extracomment>Trim end handle</extracomment>
        <translation>Ende kürzen</translation>
    </message>
    <message id="transform.square">
        <source>Square</source>
        <extracomment>Square aspect ratio</extracomment>
        <translation>Quadrat</translation>
    </message>
    <message id="transform.reset">
        <source>Reset</source>
        <extracomment>Reset aspect ratio</extracomment>
        <translation>Zurücksetzen</translation>
    </message>
    <message id="transform.custom">
        <source>Custom</source>
        <extracomment>Custom aspect ratio</extracomment>
        <translation>Frei</translation>
    </message>
    <message id="transform.tilt">
        <source>Tilt</source>
        <extracomment>Tilt angle slider</extracomment>
        <translation>Neigung</translation>
    </message>
    <message id="audio.mute">
        <source>Mute</source>
        <extracomment>Mute audio button</extracomment>
        <translation>Stumm</translation>
    </message>
    <message id="filterCategory.basic">
        <source>Basic</source>
        <extracomment>Basic filter category</extracomment>
        <translation>Basis</translation>
    </message>
    <message id="filterCategory.colorBoost">
        <source>Color Boost</source>
        <extracomment>Color Boost filter category</extracomment>
        <translation>Farbverstärkung</translation>
    </message>
    <message id="filterCategory.cinematic">
        <source>Cinematic</source>
        <extracomment>Cinematic filter category</extracomment>
        <translation>Kino</translation>
    </message>
    <message id="filterCategory.filmVintage">
        <source>Film/Vintage</source>
        <extracomment>Film/Vintage filter category</extracomment>
        <translation>Film/Vintage</translation>
    </message>
    <message id="filterCategory.blackAndWhite">
        <source>Black &amp; White</source>
        <extracomment>Black &amp; White filter category</extracomment>
        <translation>Schwarzweiß</translation>
    </message>
    <message id="filterCategory.portrait">
        <source>Portrait</source>
        <extracomment>Portrait filter category</extracomment>
        <translation>Porträt</translation>
    </message>
    <message id="filterCategory.landscape">
        <source>Landscape</source>
        <extracomment>Landscape filter category</extracomment>
        <translation>Landschaft</translation>
    </message>
    <message id="filterCategory.mood">
        <source>Mood</source>
        <extracomment>Mood filter category</extracomment>
        <translation>Stimmung</translation>
    </message>
    <message id="filterCategory.creative">
        <source>Creative</source>
        <extracomment>Creative filter category</extracomment>
        <translation>Kreativ</translation>
    </message>
    <message id="filterCategory.light">
        <source>Light</source>
        <extracomment>Light filter category</extracomment>
        <translation>Licht</translation>
    </message>
    <message id="filterCategory.duoTone">
        <source>Duo-Tone</source>
        <extracomment>Duo-Tone filter category</extracomment>
        <translation>Duoton</translation>
    </message>
    <message id="accessibility.photo">
        <source>Photo</source>
        <extracomment>Accessibility label for photo asset</extracomment>
        <translation>Foto</translation>
    </message>
    <message id="accessibility.video">
        <source>Video</source>
        <extracomment>Accessibility label for video asset</extracomment>
        <translation>Video</translation>
    </message>
    <message id="accessibility.videoDuration">
        <source>duration %@</source>
        <extracomment>Accessibility: video duration — %@ is formatted time</extracomment>
        <translation>Dauer %@</translation>
    </message>
    <message id="action.confirm">
        <source>Confirm</source>
        <extracomment>Confirm button</extracomment>
        <translation>Bestätigen</translation>
    </message>
    <message id="action.reset">
        <source>Reset</source>
        <extracomment>Reset button</extracomment>
        <translation>Zurücksetzen</translation>
    </message>
    <message id="action.close">
        <source>Close</source>
        <extracomment>Close button</extracomment>
        <translation>Schließen</translation>
    </message>
    <message id="action.share">
        <source>Share</source>
        <extracomment>Share button</extracomment>
        <translation>Teilen</translation>
    </message>
    <message id="action.flip">
        <source>Flip</source>
        <extracomment>Flip button</extracomment>
        <translation>Spiegeln</translation>
    </message>
    <message id="action.rotate">
        <source>Rotate</source>
        <extracomment>Rotate button</extracomment>
        <translation>Drehen</translation>
    </message>
    <message id="action.undo">
        <source>Undo</source>
        <extracomment>Undo button</extracomment>
        <translation>Rückgängig</translation>
    </message>
    <message id="action.redo">
        <source>Redo</source>
        <extracomment>Redo button</extracomment>
        <translation>Wiederholen</translation>
    </message>
    <message id="share.saveAs">
        <source>Save As…</source>
        <extracomment>Share sheet: save the item as a file</extracomment>
        <translation>Speichern unter…</translation>
    </message>
    <message id="share.copy">
        <source>Copy</source>
        <extracomment>Share sheet: copy the item to the clipboard</extracomment>
        <translation>Kopieren</translation>
    </message>
    <message id="share.open">
        <source>Open</source>
        <extracomment>Share sheet: open the item with the default application</extracomment>
        <translation>Öffnen</translation>
    </message>
    <message id="share.saveFailed">
        <source>The file could not be saved.</source>
        <extracomment>Share sheet: saving failed; the reason follows on the next line</extracomment>
        <translation>Die Datei konnte nicht gespeichert werden.</translation>
    </message>
    <message id="share.openFailed">
        <source>No application opens this file.</source>
        <extracomment>Share sheet: opening with the default application failed</extracomment>
        <translation>Keine Anwendung kann diese Datei öffnen.</translation>
    </message>
    <message id="mediaPicker.error.loadFailed">
        <source>Failed to load media</source>
        <extracomment>Media picker load error</extracomment>
        <translation>Medien konnten nicht geladen werden</translation>
    </message>
    <message id="mediaPicker.error.cancelled">
        <source>Selection was cancelled</source>
        <extracomment>Media picker cancelled error</extracomment>
        <translation>Auswahl wurde abgebrochen</translation>
    </message>
    <message id="mediaPicker.error.unsupportedType">
        <source>Unsupported media type</source>
        <extracomment>Media picker unsupported type error</extracomment>
        <translation>Nicht unterstützter Medientyp</translation>
    </message>
    <message id="filter.none">
        <source>None</source>
        <translation>Ohne</translation>
    </message>
    <message id="filter.vivid">
        <source>Vivid</source>
        <translation>Lebendig</translation>
    </message>
    <message id="filter.warm">
        <source>Warm</source>
        <translation>Warm</translation>
    </message>
    <message id="filter.cool">
        <source>Cool</source>
        <translation>Kühl</translation>
    </message>
    <message id="filter.fresh">
        <source>Fresh</source>
        <translation>Frisch</translation>
    </message>
    <message id="filter.clean">
        <source>Clean</source>
        <translation>Klar</translation>
    </message>
    <message id="filter.bright">
        <source>Bright</source>
        <translation>Hell</translation>
    </message>
    <message id="filter.soft">
        <source>Soft</source>
        <translation>Sanft</translation>
    </message>
    <message id="filter.natural">
        <source>Natural</source>
        <translation>Natürlich</translation>
    </message>
    <message id="filter.crisp">
        <source>Crisp</source>
        <translation>Knackig</translation>
    </message>
    <message id="filter.enhance">
        <source>Enhance</source>
        <translation>Verbessern</translation>
    </message>
    <message id="filter.airy">
        <source>Airy</source>
        <translation>Luftig</translation>
    </message>
    <message id="filter.daylight">
        <source>Daylight</source>
        <translation>Tageslicht</translation>
    </message>
    <message id="filter.clarity">
        <source>Clarity</source>
        <translation>Klarheit</translation>
    </message>
    <message id="filter.balanced">
        <source>Balanced</source>
        <translation>Ausgewogen</translation>
    </message>
    <message id="filter.tealOrange">
        <source>Teal &amp; Orange</source>
        <translation>Petrol &amp; Orange</translation>
    </message>
    <message id="filter.goldenHour">
        <source>Golden Hour</source>
        <translation>Goldene Stunde</translation>
    </message>
    <message id="filter.sunset">
        <source>Sunset</source>
        <translation>Sonnenuntergang</translation>
    </message>
    <message id="filter.emerald">
        <source>Emerald</source>
        <translation>Smaragd</translation>
    </message>
    <message id="filter.ruby">
        <source>Ruby</source>
        <translation>Rubin</translation>
    </message>
    <message id="filter.sapphire">
        <source>Sapphire</source>
        <translation>Saphir</translation>
    </message>
    <message id="filter.coral">
        <source>Coral</source>
        <translation>Koralle</translation>
    </message>
    <message id="filter.violet">
        <source>Violet</source>
        <translation>Violett</translation>
    </message>
    <message id="filter.cyan">
        <source>Cyan</source>
        <translation>Cyan</translation>
    </message>
    <message id="filter.amber">
        <source>Amber</source>
        <translation>Bernstein</translation>
    </message>
    <message id="filter.peach">
        <source>Peach</source>
        <translation>Pfirsich</translation>
    </message>
    <message id="filter.honey">
        <source>Honey</source>
        <translation>Honig</translation>
    </message>
    <message id="filter.blush">
        <source>Blush</source>
        <translation>Rouge</translation>
    </message>
    <message id="filter.aqua">
        <source>Aqua</source>
        <translation>Aqua</translation>
    </message>
    <message id="filter.magenta">
        <source>Magenta</source>
        <translation>Magenta</translation>
    </message>
    <message id="filter.dramatic">
        <source>Dramatic</source>
        <translation>Dramatisch</translation>
    </message>
    <message id="filter.noir">
        <source>Noir</source>
        <translation>Noir</translation>
    </message>
    <message id="filter.moody">
        <source>Moody</source>
        <translation>Düster</translation>
    </message>
    <message id="filter.thriller">
        <source>Thriller</source>
        <translation>Thriller</translation>
    </message>
    <message id="filter.shadow">
        <source>Shadow</source>
        <translation>Schatten</translation>
    </message>
    <message id="filter.tungsten">
        <source>Tungsten</source>
        <translation>Kunstlicht</translation>
    </message>
    <message id="filter.neon">
        <source>Neon</source>
        <translation>Neon</translation>
    </message>
    <message id="filter.blockbuster">
        <source>Blockbuster</source>
        <translation>Blockbuster</translation>
    </message>
    <message id="filter.gotham">
        <source>Gotham</source>
        <translation>Gotham</translation>
    </message>
    <message id="filter.matrix">
        <source>Matrix</source>
        <translation>Matrix</translation>
    </message>
    <message id="filter.blade">
        <source>Blade</source>
        <translation>Klinge</translation>
    </message>
    <message id="filter.dusk">
        <source>Dusk</source>
        <translation>Abenddämmerung</translation>
    </message>
    <message id="filter.midnight">
        <source>Midnight</source>
        <translation>Mitternacht</translation>
    </message>
    <message id="filter.smoke">
        <source>Smoke</source>
        <translation>Rauch</translation>
    </message>
    <message id="filter.tension">
        <source>Tension</source>
        <translation>Spannung</translation>
    </message>
    <message id="filter.film">
        <source>Film</source>
        <translation>Film</translation>
    </message>
    <message id="filter.fade">
        <source>Fade</source>
        <translation>Verblasst</translation>
    </message>
    <message id="filter.sepia">
        <source>Sepia</source>
        <translation>Sepia</translation>
    </message>
    <message id="filter.retro">
        <source>Retro</source>
        <translation>Retro</translation>
    </message>
    <message id="filter.polaroid">
        <source>Polaroid</source>
        <translation>Polaroid</translation>
    </message>
    <message id="filter.kodachrome">
        <source>Kodachrome</source>
        <translation>Kodachrome</translation>
    </message>
    <message id="filter.portra">
        <source>Portra</source>
        <translation>Portra</translation>
    </message>
    <message id="filter.fuji">
        <source>Fuji</source>
        <translation>Fuji</translation>
    </message>
    <message id="filter.lomo">
        <source>Lomo</source>
        <translation>Lomo</translation>
    </message>
    <message id="filter.expired">
        <source>Expired</source>
        <translation>Abgelaufen</translation>
    </message>
    <message id="filter.velvia">
        <source>Velvia</source>
        <translation>Velvia</translation>
    </message>
    <message id="filter.superia">
        <source>Superia</source>
        <translation>Superia</translation>
    </message>
    <message id="filter.instant">
        <source>Instant</source>
        <translation>Sofortbild</translation>
    </message>
    <message id="filter.agfa">
        <source>Agfa</source>
        <translation>Agfa</translation>
    </message>
    <message id="filter.grain">
        <source>Grain</source>
        <translation>Korn</translation>
    </message>
    <message id="filter.mono">
        <source>Mono</source>
        <translation>Mono</translation>
    </message>
    <message id="filter.silver">
        <source>Silver</source>
        <translation>Silber</translation>
    </message>
    <message id="filter.carbon">
        <source>Carbon</source>
        <translation>Carbon</translation>
    </message>
    <message id="filter.ink">
        <source>Ink</source>
        <translation>Tinte</translation>
    </message>
    <message id="filter.graphite">
        <source>Graphite</source>
        <translation>Graphit</translation>
    </message>
    <message id="filter.charcoal">
        <source>Charcoal</source>
        <translation>Kohle</translation>
    </message>
    <message id="filter.slate">
        <source>Slate</source>
        <translation>Schiefer</translation>
    </message>
    <message id="filter.platinum">
        <source>Platinum</source>
        <translation>Platin</translation>
    </message>
    <message id="filter.tin">
        <source>Tin</source>
        <translation>Zinn</translation>
    </message>
    <message id="filter.selenium">
        <source>Selenium</source>
        <translation>Selen</translation>
    </message>
    <message id="filter.highContrast">
        <source>High Contrast</source>
        <translation>Hoher Kontrast</translation>
    </message>
    <message id="filter.filmGrain">
        <source>Film Grain</source>
        <translation>Filmkorn</translation>
    </message>
    <message id="filter.glow">
        <source>Glow</source>
        <translation>Schimmer</translation>
    </message>
    <message id="filter.silk">
        <source>Silk</source>
        <translation>Seide</translation>
    </message>
    <message id="filter.peachSkin">
        <source>Peach Skin</source>
        <translation>Pfirsichhaut</translation>
    </message>
    <message id="filter.porcelain">
        <source>Porcelain</source>
        <translation>Porzellan</translation>
    </message>
    <message id="filter.rose">
        <source>Rose</source>
        <translation>Rosé</translation>
    </message>
    <message id="filter.honeyLight">
        <source>Honey Light</source>
        <translation>Honiglicht</translation>
    </message>
    <message id="filter.luminous">
        <source>Luminous</source>
        <translation>Leuchtend</translation>
    </message>
    <message id="filter.dewy">
        <source>Dewy</source>
        <translation>Taufrisch</translation>
    </message>
    <message id="filter.studio">
        <source>Studio</source>
        <translation>Studio</translation>
    </message>
    <message id="filter.beauty">
        <source>Beauty</source>
        <translation>Beauty</translation>
    </message>
    <message id="filter.candlelight">
        <source>Candlelight</source>
        <translation>Kerzenlicht</translation>
    </message>
    <message id="filter.golden">
        <source>Golden</source>
        <translation>Golden</translation>
    </message>
    <message id="filter.vista">
        <source>Vista</source>
        <translation>Weitblick</translation>
    </message>
    <message id="filter.forest">
        <source>Forest</source>
        <translation>Wald</translation>
    </message>
    <message id="filter.ocean">
        <source>Ocean</source>
        <translation>Ozean</translation>
    </message>
    <message id="filter.desert">
        <source>Desert</source>
        <translation>Wüste</translation>
    </message>
    <message id="filter.alpine">
        <source>Alpine</source>
        <translation>Alpin</translation>
    </message>
    <message id="filter.tropical">
        <source>Tropical</source>
        <translation>Tropisch</translation>
    </message>
    <message id="filter.arctic">
        <source>Arctic</source>
        <translation>Arktis</translation>
    </message>
    <message id="filter.canyon">
        <source>Canyon</source>
        <translation>Canyon</translation>
    </message>
    <message id="filter.meadow">
        <source>Meadow</source>
        <translation>Wiese</translation>
    </message>
    <message id="filter.horizon">
        <source>Horizon</source>
        <translation>Horizont</translation>
    </message>
    <message id="filter.sunrise">
        <source>Sunrise</source>
        <translation>Sonnenaufgang</translation>
    </message>
    <message id="filter.autumn">
        <source>Autumn</source>
        <translation>Herbst</translation>
    </message>
    <message id="filter.melancholy">
        <source>Melancholy</source>
        <translation>Melancholie</translation>
    </message>
    <message id="filter.dreamy">
        <source>Dreamy</source>
        <translation>Verträumt</translation>
    </message>
    <message id="filter.euphoria">
        <source>Euphoria</source>
        <translation>Euphorie</translation>
    </message>
    <message id="filter.solitude">
        <source>Solitude</source>
        <translation>Einsamkeit</translation>
    </message>
    <message id="filter.serenity">
        <source>Serenity</source>
        <translation>Gelassenheit</translation>
    </message>
    <message id="filter.nostalgia">
        <source>Nostalgia</source>
        <translation>Nostalgie</translation>
    </message>
    <message id="filter.wanderlust">
        <source>Wanderlust</source>
        <translation>Fernweh</translation>
    </message>
    <message id="filter.ethereal">
        <source>Ethereal</source>
        <translation>Ätherisch</translation>
    </message>
    <message id="filter.brooding">
        <source>Brooding</source>
        <translation>Grüblerisch</translation>
    </message>
    <message id="filter.haze">
        <source>Haze</source>
        <translation>Dunst</translation>
    </message>
    <message id="filter.velvet">
        <source>Velvet</source>
        <translation>Samt</translation>
    </message>
    <message id="filter.whisper">
        <source>Whisper</source>
        <translation>Flüstern</translation>
    </message>
    <message id="filter.storm">
        <source>Storm</source>
        <translation>Sturm</translation>
    </message>
    <message id="filter.longing">
        <source>Longing</source>
        <translation>Sehnsucht</translation>
    </message>
    <message id="filter.reverie">
        <source>Reverie</source>
        <translation>Tagtraum</translation>
    </message>
    <message id="filter.pop">
        <source>Pop</source>
        <translation>Pop</translation>
    </message>
    <message id="filter.frost">
        <source>Frost</source>
        <translation>Frost</translation>
    </message>
    <message id="filter.chrome">
        <source>Chrome</source>
        <translation>Chrom</translation>
    </message>
    <message id="filter.matte">
        <source>Matte</source>
        <translation>Matt</translation>
    </message>
    <message id="filter.crossProcess">
        <source>Cross Process</source>
        <translation>Crossentwicklung</translation>
    </message>
    <message id="filter.infrared">
        <source>Infrared</source>
        <translation>Infrarot</translation>
    </message>
    <message id="filter.cyanotype">
        <source>Cyanotype</source>
        <translation>Cyanotypie</translation>
    </message>
    <message id="filter.bleachBypass">
        <source>Bleach Bypass</source>
        <translation>Bleichbadüberbrückung</translation>
    </message>
    <message id="filter.overexposed">
        <source>Overexposed</source>
        <translation>Überbelichtet</translation>
    </message>
    <message id="filter.loFi">
        <source>Lo-Fi</source>
        <translation>Lo-Fi</translation>
    </message>
    <message id="filter.invert">
        <source>Invert</source>
        <translation>Umkehren</translation>
    </message>
    <message id="filter.halftone">
        <source>Halftone</source>
        <translation>Raster</translation>
    </message>
    <message id="filter.sunbeam">
        <source>Sunbeam</source>
        <translation>Sonnenstrahl</translation>
    </message>
    <message id="filter.flare">
        <source>Flare</source>
        <translation>Lichtreflex</translation>
    </message>
    <message id="filter.backlit">
        <source>Backlit</source>
        <translation>Gegenlicht</translation>
    </message>
    <message id="filter.softLight">
        <source>Soft Light</source>
        <translation>Weiches Licht</translation>
    </message>
    <message id="filter.hardLight">
        <source>Hard Light</source>
        <translation>Hartes Licht</translation>
    </message>
    <message id="filter.overcast">
        <source>Overcast</source>
        <translation>Bewölkt</translation>
    </message>
    <message id="filter.firelight">
        <source>Firelight</source>
        <translation>Feuerschein</translation>
    </message>
    <message id="filter.starlight">
        <source>Starlight</source>
        <translation>Sternenlicht</translation>
    </message>
    <message id="filter.twilight">
        <source>Twilight</source>
        <translation>Zwielicht</translation>
    </message>
    <message id="filter.halo">
        <source>Halo</source>
        <translation>Halo</translation>
    </message>
    <message id="filter.shade">
        <source>Shade</source>
        <translation>Halbschatten</translation>
    </message>
    <message id="filter.warmth">
        <source>Warmth</source>
        <translation>Wärme</translation>
    </message>
    <message id="filter.duoMidnightBlue">
        <source>Midnight Blue</source>
        <translation>Mitternachtsblau</translation>
    </message>
    <message id="filter.duoEmber">
        <source>Ember</source>
        <translation>Glut</translation>
    </message>
    <message id="filter.duoPlum">
        <source>Plum</source>
        <translation>Pflaume</translation>
    </message>
    <message id="filter.duoSage">
        <source>Sage</source>
        <translation>Salbei</translation>
    </message>
    <message id="filter.duoRust">
        <source>Rust</source>
        <translation>Rost</translation>
    </message>
    <message id="filter.duoOcean">
        <source>Ocean</source>
        <translation>Ozean</translation>
    </message>
    <message id="filter.duoWine">
        <source>Wine</source>
        <translation>Wein</translation>
    </message>
    <message id="filter.duoBronze">
        <source>Bronze</source>
        <translation>Bronze</translation>
    </message>
    <message id="filter.duoCobalt">
        <source>Cobalt</source>
        <translation>Kobalt</translation>
    </message>
    <message id="filter.duoTerracotta">
        <source>Terracotta</source>
        <translation>Terrakotta</translation>
    </message>
    <message id="filter.duoMoss">
        <source>Moss</source>
        <translation>Moos</translation>
    </message>
    <message id="filter.duoMauve">
        <source>Mauve</source>
        <translation>Malve</translation>
    </message>
</context>
</TS>
