<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de">
<context>
    <name>CMAbstractWorker</name>
    <message>
        <source>Invalid path &apos;%1&apos;</source>
        <translation>Ungültiger Pfad „%1“</translation>
    </message>
    <message>
        <source>Rows version %2 of &apos;%1&apos; is not current, the current one is %3</source>
        <translation>Die Zeilenversion %2 von „%1“ ist nicht aktuell; aktuell ist %3</translation>
    </message>
</context>
<context>
    <name>CMError</name>
    <message>
        <source>Error</source>
        <translation>Fehler</translation>
    </message>
</context>
<context>
    <name>CMFileWorker</name>
    <message>
        <source>Invalid context menu request</source>
        <translation>Ungültige Anfrage nach einem Kontextmenü</translation>
    </message>
    <message>
        <source>File Context Menu</source>
        <translation>Kontextmenü der Datei</translation>
    </message>
</context>
<context>
    <name>File</name>
    <message>
        <source>Access violation: path &apos;%1&apos; is outside &apos;%2&apos;</source>
        <translation>Zugriffsverletzung: Der Pfad „%1“ liegt außerhalb von „%2“</translation>
    </message>
    <message>
        <source>No permission to read directory &apos;%1&apos;</source>
        <translation>Keine Berechtigung, das Verzeichnis „%1“ zu lesen</translation>
    </message>
</context>
<context>
    <name>Host</name>
    <message>
        <source>Queue</source>
        <translation>Warteschlange</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is not open</source>
        <translation>„%1“ ist nicht geöffnet</translation>
    </message>
    <message>
        <source>Access violation: path &apos;%1&apos; is outside &apos;%2&apos;</source>
        <translation>Zugriffsverletzung: Der Pfad „%1“ liegt außerhalb von „%2“</translation>
    </message>
    <message>
        <source>No permission to read directory &apos;%1&apos;</source>
        <translation>Keine Berechtigung, das Verzeichnis „%1“ zu lesen</translation>
    </message>
    <message>
        <source>&apos;%1&apos; cannot be read: %2</source>
        <translation>„%1“ kann nicht gelesen werden: %2</translation>
    </message>
    <message>
        <source>No more than %1 paths can be open</source>
        <translation>Mehr als %1 Pfade können nicht geöffnet sein</translation>
    </message>
    <message>
        <source>&apos;%1&apos; gives no answer</source>
        <translation>„%1“ antwortet nicht</translation>
    </message>
    <message>
        <source>the request was cancelled</source>
        <translation>Die Anfrage wurde abgebrochen</translation>
    </message>
    <message>
        <source>the request took too long</source>
        <translation>Die Anfrage hat zu lange gedauert</translation>
    </message>
    <message>
        <source>the host is stopping</source>
        <translation>Der Host wird gerade beendet</translation>
    </message>
    <message>
        <source>the answer would be too large</source>
        <translation>Die Antwort wäre zu groß</translation>
    </message>
    <message>
        <source>the host has too much under way</source>
        <translation>Der Host ist überlastet</translation>
    </message>
    <message>
        <source>The request failed: %1</source>
        <translation>Die Anfrage ist fehlgeschlagen: %1</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is refused: %2</source>
        <translation>„%1“ wird abgelehnt: %2</translation>
    </message>
    <message>
        <source>&apos;%1&apos; does not answer: earlier requests still wait for it</source>
        <translation>„%1“ antwortet nicht: Frühere Anfragen warten noch darauf</translation>
    </message>
</context>
<context>
    <name>PlayListHelper</name>
    <message>
        <source>Play Now</source>
        <translation>Jetzt abspielen</translation>
    </message>
    <message>
        <source>Play Next</source>
        <translation>Als Nächstes abspielen</translation>
    </message>
    <message>
        <source>Add to Queue</source>
        <translation>Zur Warteschlange hinzufügen</translation>
    </message>
    <message>
        <source>Replace Queue</source>
        <translation>Warteschlange ersetzen</translation>
    </message>
</context>
<context>
    <name>Playlist</name>
    <message>
        <source>Invalid context menu request</source>
        <translation>Ungültige Anfrage nach einem Kontextmenü</translation>
    </message>
    <message>
        <source>Queue Context Menu</source>
        <translation>Kontextmenü der Warteschlange</translation>
    </message>
    <message>
        <source>Show Folder</source>
        <translation>Ordner anzeigen</translation>
    </message>
    <message>
        <source>Player</source>
        <translation>Wiedergabe</translation>
    </message>
    <message>
        <source>Queue</source>
        <translation>Warteschlange</translation>
    </message>
    <message>
        <source>Outputs</source>
        <translation>Wiedergabegeräte</translation>
    </message>
    <message>
        <source>Play</source>
        <translation>Abspielen</translation>
    </message>
    <message>
        <source>Play Next</source>
        <translation>Als Nächstes abspielen</translation>
    </message>
    <message>
        <source>Remove</source>
        <translation>Entfernen</translation>
    </message>
    <message>
        <source>The queue has changed: version %1 was given, the last edit made version %2</source>
        <translation>Die Warteschlange hat sich geändert: Angegeben war Version %1, die letzte Änderung ergab Version %2</translation>
    </message>
    <message>
        <source>The queue has no entry %1</source>
        <translation>Die Warteschlange hat keinen Eintrag %1</translation>
    </message>
    <message>
        <source>There is nothing to play</source>
        <translation>Es gibt nichts abzuspielen</translation>
    </message>
    <message>
        <source>&apos;%1&apos; leads out of its worker</source>
        <translation>„%1“ führt aus seinem Worker hinaus</translation>
    </message>
    <message>
        <source>Edit %1 cannot be undone any more</source>
        <translation>Änderung %1 kann nicht mehr rückgängig gemacht werden</translation>
    </message>
    <message>
        <source>The queue takes %1 entries at most</source>
        <translation>Die Warteschlange fasst höchstens %1 Einträge</translation>
    </message>
    <message>
        <source>There is no output to play on</source>
        <translation>Es gibt kein Wiedergabegerät</translation>
    </message>
    <message>
        <source>Nobody offers the output &apos;%1&apos;</source>
        <translation>Niemand bietet das Wiedergabegerät „%1“ an</translation>
    </message>
    <message>
        <source>Output &apos;%1&apos; is not the active one</source>
        <translation>Das Wiedergabegerät „%1“ ist nicht das aktive</translation>
    </message>
    <message>
        <source>&apos;%1&apos; takes %2</source>
        <translation>„%1“ erwartet: %2</translation>
    </message>
    <message>
        <source>%1 is no position</source>
        <translation>%1 ist keine Position</translation>
    </message>
    <message>
        <source>Volume %1 is not between 0 and 100</source>
        <translation>Die Lautstärke %1 liegt nicht zwischen 0 und 100</translation>
    </message>
    <message>
        <source>The request failed: %1</source>
        <translation>Die Anfrage ist fehlgeschlagen: %1</translation>
    </message>
    <message>
        <source>The queue ends</source>
        <translation>Die Warteschlange wird gerade beendet</translation>
    </message>
    <message>
        <source>The queue could not be stored: %1</source>
        <translation>Die Warteschlange konnte nicht gespeichert werden: %1</translation>
    </message>
</context>
<context>
    <name>QCommandLineParser</name>
    <message>
        <source>Usage: %1</source>
        <translation>Aufruf: %1</translation>
    </message>
    <message>
        <source>[options]</source>
        <translation>[Optionen]</translation>
    </message>
    <message>
        <source>Options:</source>
        <translation>Optionen:</translation>
    </message>
    <message>
        <source>Arguments:</source>
        <translation>Argumente:</translation>
    </message>
    <message>
        <source>Unknown option &apos;%1&apos;.</source>
        <translation>Unbekannte Option „%1“.</translation>
    </message>
    <message>
        <source>Unknown options: %1.</source>
        <translation>Unbekannte Optionen: %1.</translation>
    </message>
    <message>
        <source>Missing value after &apos;%1&apos;.</source>
        <translation>Nach „%1“ fehlt ein Wert.</translation>
    </message>
    <message>
        <source>Unexpected value after &apos;%1&apos;.</source>
        <translation>Nach „%1“ steht ein unerwarteter Wert.</translation>
    </message>
</context>
</TS>
