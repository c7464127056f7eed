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
</context>
</TS>
