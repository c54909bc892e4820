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
        <source>Browses, watches and reads a directory tree of media files through a worker module.</source>
        <translation>Durchsucht, beobachtet und liest einen Verzeichnisbaum mit Mediendateien.</translation>
    </message>
    <message>
        <source>tavo shows directories of music and serves them. To begin:
  tavo --root ~/Music browse    print what is in a directory
  tavo --root ~/Music serve     serve it to browsers: open the address that it prints
  tavo --root ~/Music doctor    find what would get in the way
  tavo --help                   list all commands and options
</source>
        <translation>tavo zeigt Verzeichnisse mit Musik und stellt sie bereit. Die ersten Schritte:
  tavo --root ~/Music browse    den Inhalt eines Verzeichnisses ausgeben
  tavo --root ~/Music serve     Browsern dienen: die ausgegebene Adresse öffnen
  tavo --root ~/Music doctor    finden, was im Weg steht
  tavo --help                   alle Befehle und Optionen auflisten
</translation>
    </message>
    <message>
        <source>Commands:</source>
        <translation>Befehle:</translation>
    </message>
    <message>
        <source>Commands for a server that is running, which need no root:</source>
        <translation>Befehle für einen laufenden Server, die kein Wurzelverzeichnis brauchen:</translation>
    </message>
    <message>
        <source>&apos;tavo COMMAND --help&apos; describes a command.</source>
        <translation>„tavo BEFEHL --help“ beschreibt einen Befehl.</translation>
    </message>
    <message>
        <source>COMMAND</source>
        <translation>BEFEHL</translation>
    </message>
    <message>
        <source>What to do, see below.</source>
        <translation>Was zu tun ist, siehe unten.</translation>
    </message>
    <message>
        <source>arguments</source>
        <translation>Argumente</translation>
    </message>
    <message>
        <source>The command&apos;s own.</source>
        <translation>Die des Befehls.</translation>
    </message>
    <message>
        <source>[arguments...]</source>
        <translation>[Argumente...]</translation>
    </message>
    <message>
        <source>PATH</source>
        <translation>PFAD</translation>
    </message>
    <message>
        <source>Relative to the root.</source>
        <translation>Relativ zum Wurzelverzeichnis.</translation>
    </message>
    <message>
        <source>%1 (see &apos;%2 --help&apos;)</source>
        <translation>%1 (siehe „%2 --help“)</translation>
    </message>
    <message>
        <source>no root directory is given: --root DIR, or [root.music] with a path in %1</source>
        <translation>Es ist kein Wurzelverzeichnis angegeben: --root VERZ oder [root.music] mit einem „path“ in %1</translation>
    </message>
    <message>
        <source>%1 takes no arguments</source>
        <translation>„%1“ erwartet keine Argumente</translation>
    </message>
    <message>
        <source>%1 takes %2</source>
        <translation>„%1“ erwartet: %2</translation>
    </message>
    <message>
        <source>a command is missing</source>
        <translation>Es fehlt ein Befehl</translation>
    </message>
    <message>
        <source>unknown command &apos;%1&apos;</source>
        <translation>Unbekannter Befehl „%1“</translation>
    </message>
    <message>
        <source>&apos;%1&apos; names no root: write ID:PATH, with one of the ids %2</source>
        <translation>„%1“ nennt kein Wurzelverzeichnis: ID:PFAD schreiben, mit einer der IDs %2</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is no ID of an entry, as &apos;tavo queue&apos; prints it</source>
        <translation>„%1“ ist keine ID eines Eintrags, wie „tavo queue“ sie ausgibt</translation>
    </message>
    <message>
        <source>Print JSON instead of text for people.</source>
        <translation>JSON statt Text für Menschen ausgeben.</translation>
    </message>
    <message>
        <source>the result is longer than 2 GiB</source>
        <translation>Das Ergebnis ist länger als 2 GiB</translation>
    </message>
    <message>
        <source>Prints the rows of a directory below the root: directories first, then playable files.

  tavo --root ~/Music browse Albums/Blue
  tavo --root ~/Music browse --first 0 --last 9 --roles title,mediaData --json</source>
        <translation>Gibt den Inhalt eines Verzeichnisses unter dem Wurzelverzeichnis aus: zuerst
Verzeichnisse, dann abspielbare Dateien.

  tavo --root ~/Music browse Albums/Blue
  tavo --root ~/Music browse --first 0 --last 9 --roles title,mediaData --json</translation>
    </message>
    <message>
        <source>First row, from 0.</source>
        <translation>Erste Zeile, von 0 an.</translation>
    </message>
    <message>
        <source>INDEX</source>
        <translation>INDEX</translation>
    </message>
    <message>
        <source>Last row. Default: the last there is.</source>
        <translation>Letzte Zeile. Vorgabe: die letzte, die es gibt.</translation>
    </message>
    <message>
        <source>Columns: any of %1.</source>
        <translation>Spalten, beliebige von: %1.</translation>
    </message>
    <message>
        <source>ROLE,...</source>
        <translation>ROLLE,...</translation>
    </message>
    <message>
        <source>Version that the rows must have.</source>
        <translation>Version, die die Zeilen haben müssen.</translation>
    </message>
    <message>
        <source>VERSION</source>
        <translation>VERSION</translation>
    </message>
    <message>
        <source>the rows are longer than 2 GiB; ask for some of them</source>
        <translation>Die Zeilen sind länger als 2 GiB; nur einen Teil davon abfragen</translation>
    </message>
    <message>
        <source>[PATH]</source>
        <translation>[PFAD]</translation>
    </message>
    <message>
        <source>Print the rows of a directory.</source>
        <translation>Den Inhalt eines Verzeichnisses ausgeben.</translation>
    </message>
    <message>
        <source>Prints a script that makes the shell complete commands, options and values.

  tavo completions bash &gt; ~/.local/share/bash-completion/completions/tavo
  tavo completions zsh &gt; /usr/local/share/zsh/site-functions/_tavo
  tavo completions fish &gt; ~/.config/fish/completions/tavo.fish</source>
        <translation>Gibt ein Skript aus, mit dem die Shell Befehle, Optionen und Werte ergänzt.

  tavo completions bash &gt; ~/.local/share/bash-completion/completions/tavo
  tavo completions zsh &gt; /usr/local/share/zsh/site-functions/_tavo
  tavo completions fish &gt; ~/.config/fish/completions/tavo.fish</translation>
    </message>
    <message>
        <source>bash|zsh|fish</source>
        <translation>bash|zsh|fish</translation>
    </message>
    <message>
        <source>Print a script that completes command lines.</source>
        <translation>Ein Skript ausgeben, das Befehlszeilen ergänzt.</translation>
    </message>
    <message>
        <source>Prints the settings that a server would have if you started it, and where each comes from: a line of
the configuration file, an option, an environment variable, or the default. Names all that is wrong and ends with
status 1 then. The system&apos;s service has an environment and options of its own (&apos;systemctl cat tavo&apos; shows them): it
keeps its state in /var/lib/tavo.

  tavo config
  tavo --config /etc/tavo/tavo.toml config --json
  tavo --root ~/Music config --listen 192.168.1.2:8420</source>
        <translation>Gibt die Einstellungen aus, die ein hier gestarteter Server hätte, und woher jede
kommt: aus einer Zeile der Konfigurationsdatei, von einer Option, aus einer
Umgebungsvariablen oder aus der Vorgabe. Nennt alles, was falsch ist, und endet
dann mit Status 1. Der Dienst des Systems hat seine eigene Umgebung und eigene
Optionen (&apos;systemctl cat tavo&apos; zeigt sie): Sein Zustand ist in /var/lib/tavo.

  tavo config
  tavo --config /etc/tavo/tavo.toml config --json
  tavo --root ~/Music config --listen 192.168.1.2:8420</translation>
    </message>
    <message>
        <source>none</source>
        <translation>nicht gesetzt</translation>
    </message>
    <message>
        <source>SETTING</source>
        <translation>EINSTELLUNG</translation>
    </message>
    <message>
        <source>VALUE</source>
        <translation>WERT</translation>
    </message>
    <message>
        <source>FROM</source>
        <translation>HERKUNFT</translation>
    </message>
    <message>
        <source>Print the settings and where they come from.</source>
        <translation>Die Einstellungen und ihre Herkunft ausgeben.</translation>
    </message>
    <message>
        <source>Prints the number of playable files in a directory and all directories below it.

  tavo --root ~/Music count Albums</source>
        <translation>Gibt aus, wie viele abspielbare Dateien in einem Verzeichnis und allen
Verzeichnissen darunter sind.

  tavo --root ~/Music count Albums</translation>
    </message>
    <message>
        <source>Print the number of playable files below a directory.</source>
        <translation>Die abspielbaren Dateien unter einem Verzeichnis zählen.</translation>
    </message>
    <message>
        <source>Looks for what gets in the way of a server, and says what to do about it: directories and files that cannot be
read, symlinks that lead out, names that are not UTF-8, damaged files, the kernel&apos;s limits, file systems that report no
changes, and the server&apos;s own address, token file and state directory. Takes the options of &apos;tavo serve&apos;. Ends with
status 1 where something needs doing.

  tavo --root ~/Music doctor
  tavo --root ~/Music doctor --listen 192.168.1.2:8420 --token-file ~/.config/tavo/token</source>
        <translation>Sucht, was einem Server im Weg steht, und sagt, was dagegen zu tun ist:
Verzeichnisse und Dateien, die nicht gelesen werden können, Symlinks, die
hinausführen, Namen, die nicht UTF-8 sind, beschädigte Dateien, die Grenzen des
Kernels, Dateisysteme, die keine Änderungen melden, sowie Adresse, Tokendatei
und Zustandsverzeichnis des Servers. Nimmt die Optionen von „tavo serve“. Endet
mit Status 1, wenn etwas zu tun ist.

  tavo --root ~/Music doctor
  tavo --root ~/Music doctor --listen 192.168.1.2:8420 --token-file ~/.config/tavo/token</translation>
    </message>
    <message>
        <source>%1 directories, %2 files  %3</source>
        <translation>%1 Verzeichnisse, %2 Dateien  %3</translation>
    </message>
    <message>
        <source>%1 directories and %2 playable files were looked at.</source>
        <translation>Geprüft: %1 Verzeichnisse und %2 abspielbare Dateien.</translation>
    </message>
    <message>
        <source>Nothing needs doing.</source>
        <translation>Es ist nichts zu tun.</translation>
    </message>
    <message>
        <source>Find what gets in the way, and say what to do about it.</source>
        <translation>Finden, was im Weg steht, und sagen, was dagegen zu tun ist.</translation>
    </message>
    <message>
        <source>Prints all that is known about one file or directory below the root.

  tavo --root ~/Music info &quot;Albums/Blue/01 Intro.flac&quot;</source>
        <translation>Gibt alles aus, was über eine Datei oder ein Verzeichnis unter dem
Wurzelverzeichnis bekannt ist.

  tavo --root ~/Music info &quot;Albums/Blue/01 Intro.flac&quot;</translation>
    </message>
    <message>
        <source>ROLE</source>
        <translation>ROLLE</translation>
    </message>
    <message>
        <source>Print all that is known of one entry.</source>
        <translation>Alles ausgeben, was über einen Eintrag bekannt ist.</translation>
    </message>
    <message>
        <source>Prints the context menu of a file or directory: what can be done with it.

  tavo --root ~/Music menu Albums/Blue</source>
        <translation>Gibt das Kontextmenü einer Datei oder eines Verzeichnisses aus: was sich damit
tun lässt.

  tavo --root ~/Music menu Albums/Blue</translation>
    </message>
    <message>
        <source>Print the context menu of an entry.</source>
        <translation>Das Kontextmenü eines Eintrags ausgeben.</translation>
    </message>
    <message>
        <source>Prints what a running server can play on, with &quot;&gt;&quot; before the one that plays, or chooses one.
Playing continues there at the same place. Without any output the player pauses.

  tavo output
  tavo output Kitchen
  tavo output --none</source>
        <translation>Gibt die Wiedergabegeräte eines laufenden Servers aus, mit „&gt;“ vor dem, das
spielt, oder wählt eines. Die Wiedergabe geht dort an derselben Stelle weiter.
Ohne Wiedergabegerät pausiert sie.

  tavo output
  tavo output Kitchen
  tavo output --none</translation>
    </message>
    <message>
        <source>Choose no output.</source>
        <translation>Kein Wiedergabegerät wählen.</translation>
    </message>
    <message>
        <source>NAME</source>
        <translation>NAME</translation>
    </message>
    <message>
        <source>output takes a NAME or --none, not both</source>
        <translation>„output“ erwartet NAME oder --none, nicht beides</translation>
    </message>
    <message>
        <source>[NAME]</source>
        <translation>[NAME]</translation>
    </message>
    <message>
        <source>Print the outputs, or choose one.</source>
        <translation>Die Wiedergabegeräte ausgeben oder eines wählen.</translation>
    </message>
    <message>
        <source>Prints what the player of a running server does.

  tavo player
  tavo player --json</source>
        <translation>Gibt aus, was die Wiedergabe eines laufenden Servers macht.

  tavo player
  tavo player --json</translation>
    </message>
    <message>
        <source>Goes on playing, begins with the first entry of the queue, or plays the entry with the ID.

  tavo play
  tavo play 12</source>
        <translation>Setzt die Wiedergabe fort, beginnt mit dem ersten Eintrag der Warteschlange
oder spielt den Eintrag mit der ID.

  tavo play
  tavo play 12</translation>
    </message>
    <message>
        <source>Pauses the player; &apos;tavo play&apos; resumes it.

  tavo pause</source>
        <translation>Hält die Wiedergabe an; „tavo play“ setzt sie fort.

  tavo pause</translation>
    </message>
    <message>
        <source>Stops the player; &apos;tavo play&apos; begins the current entry again.

  tavo stop</source>
        <translation>Beendet die Wiedergabe; „tavo play“ beginnt den aktuellen Eintrag von vorn.

  tavo stop</translation>
    </message>
    <message>
        <source>Makes the player go to the next entry.

  tavo next</source>
        <translation>Geht zum nächsten Eintrag.

  tavo next</translation>
    </message>
    <message>
        <source>Makes the player go to the entry before.

  tavo previous</source>
        <translation>Geht zum vorigen Eintrag.

  tavo previous</translation>
    </message>
    <message>
        <source>Makes the player go to a position in the current entry: seconds, or minutes and seconds, or hours
before them.

  tavo seek 90
  tavo seek 1:30
  tavo seek 1:02:30</source>
        <translation>Springt an eine Position im aktuellen Eintrag: Sekunden, Minuten und Sekunden
oder davor noch Stunden.

  tavo seek 90
  tavo seek 1:30
  tavo seek 1:02:30</translation>
    </message>
    <message>
        <source>Sets the volume, from 0 to 100.

  tavo volume 40</source>
        <translation>Stellt die Lautstärke ein, von 0 bis 100.

  tavo volume 40</translation>
    </message>
    <message>
        <source>Repeats nothing, the queue, or the current entry.

  tavo repeat off
  tavo repeat all
  tavo repeat one</source>
        <translation>Wiederholt nichts (off), die Warteschlange (all) oder den aktuellen Eintrag
(one).

  tavo repeat off
  tavo repeat all
  tavo repeat one</translation>
    </message>
    <message>
        <source>Plays the queue in a random order, or in its own. &apos;tavo queue shuffle&apos; changes the queue itself.

  tavo shuffle on
  tavo shuffle off</source>
        <translation>Spielt die Warteschlange in zufälliger Reihenfolge oder in ihrer eigenen. Die
Warteschlange selbst mischt „tavo queue shuffle“.

  tavo shuffle on
  tavo shuffle off</translation>
    </message>
    <message>
        <source>entry</source>
        <translation>Eintrag</translation>
    </message>
    <message>
        <source>title</source>
        <translation>Titel</translation>
    </message>
    <message>
        <source>artist</source>
        <translation>Interpret</translation>
    </message>
    <message>
        <source>album</source>
        <translation>Album</translation>
    </message>
    <message>
        <source>position</source>
        <translation>Position</translation>
    </message>
    <message>
        <source>%1 of %2</source>
        <translation>%1 von %2</translation>
    </message>
    <message>
        <source>playing</source>
        <translation>läuft</translation>
    </message>
    <message>
        <source>paused</source>
        <translation>pausiert</translation>
    </message>
    <message>
        <source>stopped</source>
        <translation>beendet</translation>
    </message>
    <message>
        <source>PROPERTY</source>
        <translation>EIGENSCHAFT</translation>
    </message>
    <message>
        <source>state</source>
        <translation>Zustand</translation>
    </message>
    <message>
        <source>output</source>
        <translation>Wiedergabegerät</translation>
    </message>
    <message>
        <source>volume</source>
        <translation>Lautstärke</translation>
    </message>
    <message>
        <source>repeat</source>
        <translation>Wiederholung</translation>
    </message>
    <message>
        <source>shuffle</source>
        <translation>Zufallswiedergabe</translation>
    </message>
    <message>
        <source>failed</source>
        <translation>fehlgeschlagen</translation>
    </message>
    <message>
        <source>the queue has no such entry, or is empty</source>
        <translation>Die Warteschlange hat keinen solchen Eintrag oder ist leer</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is no position, such as 90, 1:30 or 1:02:30</source>
        <translation>„%1“ ist keine Position wie 90, 1:30 oder 1:02:30</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is no volume from 0 to 100</source>
        <translation>„%1“ ist keine Lautstärke von 0 bis 100</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is none of %2</source>
        <translation>„%1“ ist keines von %2</translation>
    </message>
    <message>
        <source>Print what the player does.</source>
        <translation>Ausgeben, was die Wiedergabe macht.</translation>
    </message>
    <message>
        <source>[ID]</source>
        <translation>[ID]</translation>
    </message>
    <message>
        <source>Play, or go on playing.</source>
        <translation>Abspielen oder die Wiedergabe fortsetzen.</translation>
    </message>
    <message>
        <source>Pause.</source>
        <translation>Die Wiedergabe anhalten.</translation>
    </message>
    <message>
        <source>Stop playing.</source>
        <translation>Die Wiedergabe beenden.</translation>
    </message>
    <message>
        <source>Go to the next entry.</source>
        <translation>Zum nächsten Eintrag gehen.</translation>
    </message>
    <message>
        <source>Go to the entry before.</source>
        <translation>Zum vorigen Eintrag gehen.</translation>
    </message>
    <message>
        <source>POSITION</source>
        <translation>POSITION</translation>
    </message>
    <message>
        <source>Go to a position in the current entry.</source>
        <translation>An eine Position im aktuellen Eintrag springen.</translation>
    </message>
    <message>
        <source>0-100</source>
        <translation>0-100</translation>
    </message>
    <message>
        <source>Set the volume.</source>
        <translation>Die Lautstärke einstellen.</translation>
    </message>
    <message>
        <source>off|all|one</source>
        <translation>off|all|one</translation>
    </message>
    <message>
        <source>Repeat nothing, the queue, or an entry.</source>
        <translation>Nichts, die Warteschlange oder einen Eintrag wiederholen.</translation>
    </message>
    <message>
        <source>on|off</source>
        <translation>on|off</translation>
    </message>
    <message>
        <source>Play in a random order, or in the queue&apos;s.</source>
        <translation>In zufälliger Reihenfolge spielen oder in der eigenen.</translation>
    </message>
    <message>
        <source>Reads the tags of playable files and prints the items that they make in a playlist or in the music library.
A directory stands for all files below it.

  tavo --root ~/Music prepare playlist Albums/Blue &quot;Singles/One.mp3&quot;
  tavo --root ~/Music prepare library . --json &gt; library.json</source>
        <translation>Liest die Tags abspielbarer Dateien und gibt die Einträge aus, die daraus in
einer Wiedergabeliste oder in der Musikbibliothek werden. Ein Verzeichnis steht
für alle Dateien darunter.

  tavo --root ~/Music prepare playlist Albums/Blue &quot;Singles/One.mp3&quot;
  tavo --root ~/Music prepare library . --json &gt; library.json</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is neither playlist nor library</source>
        <translation>„%1“ ist weder playlist noch library</translation>
    </message>
    <message>
        <source>playlist|library PATH...</source>
        <translation>playlist|library PFAD...</translation>
    </message>
    <message>
        <source>Read tags and print the items for a playlist or the library.</source>
        <translation>Tags lesen und Einträge einer Liste oder der Bibliothek ausgeben.</translation>
    </message>
    <message>
        <source>Prints the queue of a running server, with &quot;&gt;&quot; before the current entry, or edits it.

  tavo queue
  tavo queue add Albums/Blue drive:Singles
  tavo queue move 12 13 --after head
  tavo queue remove 12 13

An EDIT is one of these:

  add PATH...               adds files, and all files of directories, at the end
  next PATH...              adds them behind the current entry
  play PATH...              the same, and plays them
  replace PATH...           plays them instead of all that is in the queue
  remove ID...              removes entries
  move ID... --after ID     moves entries behind another one, or to the head
  clear                     removes all entries
  shuffle                   puts the entries into a random order
  undo NUMBER               brings back what an edit has removed, under the number that it has printed

A PATH is relative to the server&apos;s root, or ID:PATH where it has several, or encoded as in rows.</source>
        <translation>Gibt die Warteschlange eines laufenden Servers aus, mit „&gt;“ vor dem aktuellen
Eintrag, oder ändert sie.

  tavo queue
  tavo queue add Albums/Blue drive:Singles
  tavo queue move 12 13 --after head
  tavo queue remove 12 13

Eine ÄNDERUNG ist eine von diesen:

  add PFAD...               Dateien und alle Dateien in Verzeichnissen anfügen
  next PFAD...              sie hinter dem aktuellen Eintrag einfügen
  play PFAD...              dasselbe, und sie abspielen
  replace PFAD...           sie abspielen statt allem in der Warteschlange
  remove ID...              Einträge entfernen
  move ID... --after ID     Einträge hinter einen anderen oder an den Anfang
                            (head) verschieben
  clear                     alle Einträge entfernen
  shuffle                   die Einträge mischen
  undo ZAHL                 zurückholen, was eine Änderung entfernt hat, unter
                            der Zahl, die sie ausgegeben hat

Ein PFAD ist relativ zum Wurzelverzeichnis des Servers, oder ID:PFAD, wo er
mehrere hat, oder kodiert wie in den Zeilen.</translation>
    </message>
    <message>
        <source>Entry behind which others move, or head.</source>
        <translation>Eintrag, hinter den andere verschoben werden, oder head: an den Anfang.</translation>
    </message>
    <message>
        <source>ID</source>
        <translation>ID</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is no number that an edit has printed</source>
        <translation>„%1“ ist keine Zahl, die eine Änderung ausgegeben hat</translation>
    </message>
    <message>
        <source>there is nothing to play</source>
        <translation>Es gibt nichts abzuspielen</translation>
    </message>
    <message>
        <source>the queue has no such entry</source>
        <translation>Die Warteschlange hat keinen solchen Eintrag</translation>
    </message>
    <message>
        <source>that edit cannot be undone any more</source>
        <translation>Diese Änderung kann nicht mehr rückgängig gemacht werden</translation>
    </message>
    <message>
        <source>PATH...</source>
        <translation>PFAD...</translation>
    </message>
    <message>
        <source>ID...</source>
        <translation>ID...</translation>
    </message>
    <message>
        <source>ID... --after ID</source>
        <translation>ID... --after ID</translation>
    </message>
    <message>
        <source>NUMBER</source>
        <translation>ZAHL</translation>
    </message>
    <message>
        <source>added 1 entry</source>
        <translation>1 Eintrag hinzugefügt</translation>
    </message>
    <message>
        <source>added %1 entries</source>
        <translation>%1 Einträge hinzugefügt</translation>
    </message>
    <message>
        <source>&apos;tavo queue undo %1&apos; brings back what was removed</source>
        <translation>„tavo queue undo %1“ holt zurück, was entfernt wurde</translation>
    </message>
    <message>
        <source>there is nothing to play at &apos;%1&apos;</source>
        <translation>Bei „%1“ gibt es nichts abzuspielen</translation>
    </message>
    <message>
        <source>the player is paused, since it has no output: see &apos;tavo output&apos;</source>
        <translation>Die Wiedergabe pausiert, weil sie kein Wiedergabegerät hat: siehe „tavo output“</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is nothing to do with the queue (see &apos;tavo queue --help&apos;)</source>
        <translation>„%1“ ist keine Änderung der Warteschlange (siehe „tavo queue --help“)</translation>
    </message>
    <message>
        <source>write &apos;tavo queue %1&apos;</source>
        <translation>Richtig ist „tavo queue %1“</translation>
    </message>
    <message>
        <source>[EDIT [PATH...|ID...]]</source>
        <translation>[ÄNDERUNG [PFAD...|ID...]]</translation>
    </message>
    <message>
        <source>Print or edit the queue.</source>
        <translation>Die Warteschlange ausgeben oder ändern.</translation>
    </message>
    <message>
        <source>there is no such output, or none at all: see &apos;tavo output&apos;</source>
        <translation>Es gibt kein solches Wiedergabegerät oder gar keines: siehe „tavo output“</translation>
    </message>
    <message>
        <source>the queue has no room for so many entries</source>
        <translation>Die Warteschlange hat keinen Platz für so viele Einträge</translation>
    </message>
    <message>
        <source>the server does not show that path</source>
        <translation>Der Server zeigt diesen Pfad nicht</translation>
    </message>
    <message>
        <source>the server has no such path</source>
        <translation>Der Server hat keinen solchen Pfad</translation>
    </message>
    <message>
        <source>Address of the server. Default: the variable TAVO_SERVER, or %1.</source>
        <translation>Adresse des Servers. Vorgabe: die Variable TAVO_SERVER oder %1.</translation>
    </message>
    <message>
        <source>URL</source>
        <translation>URL</translation>
    </message>
    <message>
        <source>File with the server&apos;s token, if it needs one. Default: the variable TAVO_TOKEN_FILE.</source>
        <translation>Datei mit dem Token des Servers, falls er eines braucht. Vorgabe: die Variable TAVO_TOKEN_FILE.</translation>
    </message>
    <message>
        <source>FILE</source>
        <translation>DATEI</translation>
    </message>
    <message>
        <source>the server at %1 has no queue</source>
        <translation>Der Server unter %1 hat keine Warteschlange</translation>
    </message>
    <message>
        <source>Serves people with a browser, and programs over HTTP and WebSocket.
Prints where, as soon as it does. Ends with status 0 on SIGINT or SIGTERM.

  tavo --root ~/Music serve
  tavo --root ~/Music serve --listen 192.168.1.2:8420 --token-file ~/.config/tavo-token

Without --listen it serves 127.0.0.1:8420, or the sockets that systemd passes. Other addresses than those of this
machine need a token, or --no-token. On SIGHUP it reads the configuration again: roots come and go.</source>
        <translation>Dient Menschen mit einem Browser und Programmen über HTTP und WebSocket. Gibt
aus, unter welcher Adresse, sobald er bereit ist. Endet bei SIGINT oder SIGTERM
mit Status 0.

  tavo --root ~/Music serve
  tavo --root ~/Music serve --listen 192.168.1.2:8420 --token-file ~/.config/tavo-token

Ohne --listen lauscht er auf 127.0.0.1:8420 oder auf den Sockets, die systemd
übergibt. Andere Adressen als die dieses Rechners brauchen ein Token oder
--no-token. Bei SIGHUP liest er die Konfiguration neu: Wurzelverzeichnisse
kommen und gehen.</translation>
    </message>
    <message>
        <source>Serving no directory yet at %1</source>
        <translation>Noch ist kein Verzeichnis bereitgestellt unter %1</translation>
    </message>
    <message>
        <source>Serving %1 at %2</source>
        <translation>Bereitgestellt: %1 unter %2</translation>
    </message>
    <message>
        <source>Serve browsers and other programs over HTTP.</source>
        <translation>Browsern und anderen Programmen über HTTP dienen.</translation>
    </message>
    <message>
        <source>Serves one client over standard input and output: JSON-RPC 2.0, one message a line.
Ends with status 0 when the input ends and everything is answered, and on SIGINT or SIGTERM.

  echo &apos;{&quot;jsonrpc&quot;:&quot;2.0&quot;,&quot;id&quot;:1,&quot;method&quot;:&quot;rows&quot;,&quot;params&quot;:{&quot;path&quot;:&quot;/file/Albums&quot;}}&apos; |
      tavo --root ~/Music session</source>
        <translation>Dient einem Client über Standardeingabe und -ausgabe: JSON-RPC 2.0, eine
Nachricht je Zeile. Endet mit Status 0, wenn die Eingabe endet und alles
beantwortet ist, und bei SIGINT oder SIGTERM.

  echo &apos;{&quot;jsonrpc&quot;:&quot;2.0&quot;,&quot;id&quot;:1,&quot;method&quot;:&quot;rows&quot;,&quot;params&quot;:{&quot;path&quot;:&quot;/file/Albums&quot;}}&apos; |
      tavo --root ~/Music session</translation>
    </message>
    <message>
        <source>Directory for what outlives the program. Default: the queue ends with it.</source>
        <translation>Verzeichnis für alles, was das Programm überdauert. Vorgabe: Die Warteschlange endet mit ihm.</translation>
    </message>
    <message>
        <source>DIR</source>
        <translation>VERZ</translation>
    </message>
    <message>
        <source>Serve a client that speaks JSON-RPC 2.0 over standard input and output.</source>
        <translation>Einem Client mit JSON-RPC 2.0 über die Standardkanäle dienen.</translation>
    </message>
    <message>
        <source>Prints the token that a server on this machine has made for itself (serve --make-token):
your own server, or else the system&apos;s service, whose token only root can read.

  sudo tavo token</source>
        <translation>Gibt das Token aus, das ein Server auf diesem Rechner für sich gemacht hat
(serve --make-token): der eigene Server oder sonst der Dienst des Systems,
dessen Token nur root lesen kann.

  sudo tavo token</translation>
    </message>
    <message>
        <source>State directory of the server. Default: your own, or else %1.</source>
        <translation>Zustandsverzeichnis des Servers. Vorgabe: das eigene oder sonst %1.</translation>
    </message>
    <message>
        <source>there is no token in %1 that you may read; root can read that of the service</source>
        <translation>Es gibt kein lesbares Token in %1; das des Dienstes kann root lesen</translation>
    </message>
    <message>
        <source> or </source>
        <translation> oder </translation>
    </message>
    <message>
        <source>Print the token that a server on this machine has made.</source>
        <translation>Das Token eines Servers auf diesem Rechner ausgeben.</translation>
    </message>
    <message>
        <source>Opens directories below the root and prints every change as it arrives:
&quot;reset&quot; where the rows have to be read again, &quot;close&quot; where the directory is gone.
Ends with status 0 when interrupted, with 1 when all the directories are gone.

  tavo --root ~/Music watch . Albums/Blue</source>
        <translation>Öffnet Verzeichnisse unter dem Wurzelverzeichnis und gibt jede Änderung aus,
sobald sie eintrifft: „reset“, wo die Zeilen neu gelesen werden müssen, „close“,
wo das Verzeichnis nicht mehr da ist. Endet mit Status 0, wenn es unterbrochen
wird, und mit 1, wenn keines der Verzeichnisse mehr da ist.

  tavo --root ~/Music watch . Albums/Blue</translation>
    </message>
    <message>
        <source>%1  %2  %3  (version %4)</source>
        <translation>%1  %2  %3  (Version %4)</translation>
    </message>
    <message>
        <source>nothing is left to watch</source>
        <translation>Es gibt nichts mehr zu beobachten</translation>
    </message>
    <message>
        <source>watching 1 directory, interrupt to end</source>
        <translation>1 Verzeichnis wird beobachtet; Strg+C beendet</translation>
    </message>
    <message>
        <source>watching %1 directories, interrupt to end</source>
        <translation>%1 Verzeichnisse werden beobachtet; Strg+C beendet</translation>
    </message>
    <message>
        <source>Print every change of directories as it arrives.</source>
        <translation>Jede Änderung von Verzeichnissen ausgeben, sobald sie eintrifft.</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is none of bash, zsh and fish</source>
        <translation>„%1“ ist keines von bash, zsh und fish</translation>
    </message>
    <message>
        <source>%1 or %2.</source>
        <translation>%1 oder %2.</translation>
    </message>
    <message>
        <source>Directory tree to serve, instead of the configured ones; may be given again, with an ID of its own each. Default ID: file.</source>
        <translation>Bereitzustellendes Wurzelverzeichnis statt der konfigurierten; mehrfach möglich, jedes mit eigener ID. Vorgabe der ID: file.</translation>
    </message>
    <message>
        <source>[ID=]DIR</source>
        <translation>[ID=]VERZ</translation>
    </message>
    <message>
        <source>Wildcard of playable names; may be given again. Default: the usual audio and playlist files.</source>
        <translation>Muster für die Namen abspielbarer Dateien; mehrfach möglich. Vorgabe: die üblichen Audiodateien und Wiedergabelisten.</translation>
    </message>
    <message>
        <source>PATTERN</source>
        <translation>MUSTER</translation>
    </message>
    <message>
        <source>File with settings. Default: $XDG_CONFIG_HOME/tavo/tavo.toml, or else /etc/tavo/tavo.toml.</source>
        <translation>Datei mit Einstellungen. Vorgabe: $XDG_CONFIG_HOME/tavo/tavo.toml oder sonst /etc/tavo/tavo.toml.</translation>
    </message>
    <message>
        <source>Worker module to load. Default: the one that comes with this program.</source>
        <translation>Worker-Modul, das geladen wird. Vorgabe: das mit diesem Programm ausgelieferte.</translation>
    </message>
    <message>
        <source>Width that album covers are scaled down to.</source>
        <translation>Breite, auf die Albumcover verkleinert werden.</translation>
    </message>
    <message>
        <source>PX</source>
        <translation>PX</translation>
    </message>
    <message>
        <source>Seconds between looks at opened directories, 0: never. Default: 5.</source>
        <translation>Sekunden zwischen Blicken auf geöffnete Verzeichnisse, 0: nie. Vorgabe: 5.</translation>
    </message>
    <message>
        <source>SECONDS</source>
        <translation>SEKUNDEN</translation>
    </message>
    <message>
        <source>LEVEL</source>
        <translation>STUFE</translation>
    </message>
    <message>
        <source>Properties file for log4cplus. Default: warnings and worse on standard error.</source>
        <translation>Properties-Datei für log4cplus. Vorgabe: Warnungen und Schlimmeres auf die Standardfehlerausgabe.</translation>
    </message>
    <message>
        <source>Print this help.</source>
        <translation>Diese Hilfe ausgeben.</translation>
    </message>
    <message>
        <source>Print the version.</source>
        <translation>Die Version ausgeben.</translation>
    </message>
    <message>
        <source>--%1 takes a number from %2 up, not &apos;%3&apos;</source>
        <translation>--%1 erwartet eine Zahl ab %2, nicht „%3“</translation>
    </message>
    <message>
        <source>Module of the queue. Default: the one that comes with this program.</source>
        <translation>Modul der Warteschlange. Vorgabe: das mit diesem Programm ausgelieferte.</translation>
    </message>
    <message>
        <source>Where to listen; port 0: any; may be given again. Default: %1.</source>
        <translation>Adresse zum Lauschen; Port 0: irgendeiner; mehrfach möglich. Vorgabe: %1.</translation>
    </message>
    <message>
        <source>ADDRESS:PORT</source>
        <translation>ADRESSE:PORT</translation>
    </message>
    <message>
        <source>Serve only who has the token in the file&apos;s first line.</source>
        <translation>Nur denen dienen, die das Token aus der ersten Zeile der Datei haben.</translation>
    </message>
    <message>
        <source>Without --token-file, make a token at the first start; &apos;tavo token&apos; shows it.</source>
        <translation>Ohne --token-file beim ersten Start ein Token machen; „tavo token“ zeigt es.</translation>
    </message>
    <message>
        <source>Serve everybody in the network, without a token.</source>
        <translation>Allen im Netz ohne Token dienen.</translation>
    </message>
    <message>
        <source>Name by which browsers reach this machine; may be given again.</source>
        <translation>Name, unter dem Browser diesen Rechner erreichen; mehrfach möglich.</translation>
    </message>
    <message>
        <source>Address that browsers use where a proxy is in between; may be given again.</source>
        <translation>Adresse, die Browser benutzen, wo ein Proxy dazwischen ist; mehrfach möglich.</translation>
    </message>
    <message>
        <source>Directory for what outlives the program.</source>
        <translation>Verzeichnis für alles, was das Programm überdauert.</translation>
    </message>
    <message>
        <source>default</source>
        <translation>Vorgabe</translation>
    </message>
    <message>
        <source>must not be empty</source>
        <translation>darf nicht leer sein</translation>
    </message>
    <message>
        <source> in [%1]</source>
        <translation> in [%1]</translation>
    </message>
    <message>
        <source>known are %1</source>
        <translation>bekannt sind %1</translation>
    </message>
    <message>
        <source>did you mean &apos;%1&apos;?</source>
        <translation>„%1“ gemeint?</translation>
    </message>
    <message>
        <source>unknown key &apos;%1&apos;%2; %3</source>
        <translation>Unbekannter Schlüssel „%1“%2; %3</translation>
    </message>
    <message>
        <source>must be a text in quotes</source>
        <translation>muss ein Text in Anführungszeichen sein</translation>
    </message>
    <message>
        <source>must be true or false</source>
        <translation>muss true oder false sein</translation>
    </message>
    <message>
        <source>must be a number from 1 to %1</source>
        <translation>muss eine Zahl von 1 bis %1 sein</translation>
    </message>
    <message>
        <source>must be a list of texts, such as %1</source>
        <translation>muss eine Liste von Texten sein, etwa %1</translation>
    </message>
    <message>
        <source>must be a table: [%1]</source>
        <translation>muss eine Tabelle sein: [%1]</translation>
    </message>
    <message>
        <source>must be tables, each with an ID: [root.music]</source>
        <translation>müssen Tabellen sein, jede mit einer ID: [root.music]</translation>
    </message>
    <message>
        <source>[%1] names no directory: path = &quot;…&quot;</source>
        <translation>[%1] nennt kein Verzeichnis: path = &quot;…&quot;</translation>
    </message>
    <message>
        <source>the configuration cannot be read: %1</source>
        <translation>Die Konfiguration kann nicht gelesen werden: %1</translation>
    </message>
    <message>
        <source>&apos;%1&apos; cannot be a root&apos;s id</source>
        <translation>„%1“ kann keine ID eines Wurzelverzeichnisses sein</translation>
    </message>
    <message>
        <source>a root directory has an empty name: --root &apos;&apos;</source>
        <translation>Ein Wurzelverzeichnis hat einen leeren Namen: --root &apos;&apos;</translation>
    </message>
    <message>
        <source>two roots have the id &apos;%1&apos;; give them ids of their own: --root ID=DIR</source>
        <translation>Zwei Wurzelverzeichnisse haben die ID „%1“; jedem eine eigene geben: --root ID=VERZ</translation>
    </message>
    <message>
        <source>&apos;%1&apos; does not answer: earlier requests still wait for it</source>
        <translation>„%1“ antwortet nicht: Frühere Anfragen warten noch darauf</translation>
    </message>
    <message>
        <source>the root directory %1 does not exist</source>
        <translation>Das Wurzelverzeichnis %1 gibt es nicht</translation>
    </message>
    <message>
        <source>the root %1 is not a directory</source>
        <translation>Die Wurzel %1 ist kein Verzeichnis</translation>
    </message>
    <message>
        <source>the root directory %1 does not answer</source>
        <translation>Das Wurzelverzeichnis %1 antwortet nicht</translation>
    </message>
    <message>
        <source>the root directory %1 has vanished again</source>
        <translation>Das Wurzelverzeichnis %1 ist wieder verschwunden</translation>
    </message>
    <message>
        <source>the root id &apos;%1&apos; is taken</source>
        <translation>Die ID „%1“ eines Wurzelverzeichnisses ist vergeben</translation>
    </message>
    <message>
        <source>the id &apos;%1&apos; is taken</source>
        <translation>Die ID „%1“ ist vergeben</translation>
    </message>
    <message>
        <source>cannot load the module: %1</source>
        <translation>Das Modul kann nicht geladen werden: %1</translation>
    </message>
    <message>
        <source>the module %1 makes no worker: %2</source>
        <translation>Das Modul %1 macht keinen Worker: %2</translation>
    </message>
    <message>
        <source>its factory gives none</source>
        <translation>Seine Fabrik gibt keinen heraus</translation>
    </message>
    <message>
        <source>its factory throws</source>
        <translation>Seine Fabrik wirft eine Ausnahme</translation>
    </message>
    <message>
        <source>the state directory %1 cannot be written</source>
        <translation>In das Zustandsverzeichnis %1 kann nicht geschrieben werden</translation>
    </message>
    <message>
        <source>make %1 a directory that the user who runs tavo can write, or name another one: --state DIR</source>
        <translation>%1 zu einem Verzeichnis machen, in das der Benutzer von tavo schreiben darf, oder ein anderes nennen: --state VERZ</translation>
    </message>
    <message>
        <source>everybody in the network could use %1</source>
        <translation>Alle im Netz könnten %1 benutzen</translation>
    </message>
    <message>
        <source>ask for a token: --token-file FILE; or allow it: --no-token</source>
        <translation>Ein Token verlangen: --token-file DATEI; oder es erlauben: --no-token</translation>
    </message>
    <message>
        <source>choose another address: --listen ADDRESS:PORT; &apos;ss -ltnp&apos; shows which program has a port</source>
        <translation>Eine andere Adresse wählen: --listen ADRESSE:PORT; „ss -ltnp“ zeigt, welches Programm einen Port hat</translation>
    </message>
    <message>
        <source>correct that, or make a new one: (umask 077; head -c 24 /dev/urandom | base64 &gt; ~/.config/tavo/token)</source>
        <translation>Das beheben oder eine neue machen: (umask 077; head -c 24 /dev/urandom | base64 &gt; ~/.config/tavo/token)</translation>
    </message>
    <message>
        <source>the state directory %1 has only %2 MB left</source>
        <translation>Das Zustandsverzeichnis %1 hat nur noch %2 MB frei</translation>
    </message>
    <message>
        <source>free %1 MB there, or name a directory with more room: --state DIR</source>
        <translation>Dort %1 MB frei machen oder ein Verzeichnis mit mehr Platz nennen: --state VERZ</translation>
    </message>
    <message>
        <source>directories that cannot be read below %1</source>
        <translation>Nicht lesbare Verzeichnisse unter %1</translation>
    </message>
    <message>
        <source>let the user who runs tavo read and enter them, for example with chmod o+rx</source>
        <translation>Den Benutzer von tavo sie lesen und betreten lassen, etwa mit chmod o+rx</translation>
    </message>
    <message>
        <source>files that cannot be read below %1</source>
        <translation>Nicht lesbare Dateien unter %1</translation>
    </message>
    <message>
        <source>let the user who runs tavo read them, for example with chmod o+r</source>
        <translation>Den Benutzer von tavo sie lesen lassen, etwa mit chmod o+r</translation>
    </message>
    <message>
        <source>symlinks that lead out, or to something hidden, below %1</source>
        <translation>Symlinks, die hinausführen oder zu etwas Verstecktem, unter %1</translation>
    </message>
    <message>
        <source>clients of a server do not see them: move what they lead to below the root, or make its directory a root of its own</source>
        <translation>Clients eines Servers sehen sie nicht: ihre Ziele unter das Wurzelverzeichnis verschieben oder deren Verzeichnis zu einem eigenen Wurzelverzeichnis machen</translation>
    </message>
    <message>
        <source>names that are not UTF-8 below %1</source>
        <translation>Namen unter %1, die nicht UTF-8 sind</translation>
    </message>
    <message>
        <source>clients cannot open them: rename them, for example with convmv -f latin1 -t utf8 -r</source>
        <translation>Clients können sie nicht öffnen: umbenennen, etwa mit convmv -f latin1 -t utf8 -r</translation>
    </message>
    <message>
        <source>files without readable tags below %1</source>
        <translation>Dateien ohne lesbare Tags unter %1</translation>
    </message>
    <message>
        <source>they may be damaged, incomplete or no audio files at all: try to play them, and replace or remove those that do not play</source>
        <translation>Sie können beschädigt, unvollständig oder gar keine Audiodateien sein: abspielen und die ersetzen oder entfernen, die nicht laufen</translation>
    </message>
    <message>
        <source>correct the path, or mount what should be there; a server serves the root as soon as it is there</source>
        <translation>Den Pfad berichtigen oder einhängen, was dort sein soll; ein Server stellt das Wurzelverzeichnis bereit, sobald es da ist</translation>
    </message>
    <message>
        <source>there is no directory %1</source>
        <translation>Es gibt kein Verzeichnis %1</translation>
    </message>
    <message>
        <source>%1 is on a file system of type %2, which reports no changes</source>
        <translation>%1 ist auf einem Dateisystem vom Typ %2, das keine Änderungen meldet</translation>
    </message>
    <message>
        <source>do not turn the regular looks at opened directories off: --sweep 5</source>
        <translation>Die regelmäßigen Blicke auf geöffnete Verzeichnisse nicht abschalten: --sweep 5</translation>
    </message>
    <message>
        <source>nothing needs doing: tavo looks at opened directories every %1 seconds, so changes appear later than elsewhere</source>
        <translation>Es ist nichts zu tun: tavo sieht alle %1 Sekunden nach geöffneten Verzeichnissen; Änderungen erscheinen daher später als anderswo</translation>
    </message>
    <message>
        <source>raise it: sysctl -w %1=%2; the line %1=%2 in /etc/sysctl.d/tavo.conf makes it last</source>
        <translation>Sie erhöhen: sysctl -w %1=%2; die Zeile %1=%2 in /etc/sysctl.d/tavo.conf erhält das</translation>
    </message>
    <message>
        <source>all inotify instances of this user are in use: %1 = %2</source>
        <translation>Alle inotify-Instanzen dieses Benutzers sind belegt: %1 = %2</translation>
    </message>
    <message>
        <source>all inotify watches of this user are in use: %1 = %2</source>
        <translation>Alle inotify-Watches dieses Benutzers sind belegt: %1 = %2</translation>
    </message>
    <message>
        <source>there are %1 directories, and the kernel watches %3 at most: %2 = %3</source>
        <translation>Es gibt %1 Verzeichnisse, und der Kernel beobachtet höchstens %3: %2 = %3</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is no name of a host: give it as in music.example.org, without a port</source>
        <translation>„%1“ ist kein Rechnername: anzugeben wie music.example.org, ohne Port</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is no origin: give it as in https://music.example.org, without a path</source>
        <translation>„%1“ ist keine Herkunft: anzugeben wie https://music.example.org, ohne Pfad</translation>
    </message>
    <message>
        <source>everybody in the network could use %1: give --token-file, or --no-token if that is wanted</source>
        <translation>Alle im Netz könnten %1 benutzen: --token-file angeben, oder --no-token, wenn das gewollt ist</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is no ADDRESS:PORT, such as 127.0.0.1:8420 or [::1]:8420</source>
        <translation>„%1“ ist nicht ADRESSE:PORT wie 127.0.0.1:8420 oder [::1]:8420</translation>
    </message>
    <message>
        <source>cannot listen on %1: %2</source>
        <translation>An %1 kann nicht gelauscht werden: %2</translation>
    </message>
    <message>
        <source>a socket that was passed does not listen at an IP address</source>
        <translation>Ein übergebener Socket lauscht nicht an einer IP-Adresse</translation>
    </message>
    <message>
        <source>the token file %1 does not exist, or is no file</source>
        <translation>Die Tokendatei %1 gibt es nicht, oder sie ist keine Datei</translation>
    </message>
    <message>
        <source>the token file %1 cannot be read: %2</source>
        <translation>Die Tokendatei %1 kann nicht gelesen werden: %2</translation>
    </message>
    <message>
        <source>the token file %1 must be its owner&apos;s alone: chmod 600 makes it so</source>
        <translation>Die Tokendatei %1 darf nur ihr Eigentümer lesen können: chmod 600 sorgt dafür</translation>
    </message>
    <message>
        <source>the token file %1 must begin with a line of %2 to %3 printable ASCII characters, without spaces around them</source>
        <translation>Die Tokendatei %1 muss mit einer Zeile von %2 bis %3 druckbaren ASCII-Zeichen beginnen, ohne Leerzeichen darum herum</translation>
    </message>
    <message>
        <source>cannot make the token file %1: %2</source>
        <translation>Die Tokendatei %1 kann nicht angelegt werden: %2</translation>
    </message>
    <message>
        <source>the items are longer than 2 GiB</source>
        <translation>Die Einträge sind länger als 2 GiB</translation>
    </message>
    <message>
        <source>looking for files</source>
        <translation>Dateien werden gesucht</translation>
    </message>
    <message>
        <source>cannot read the log configuration %1</source>
        <translation>Die Log-Konfiguration %1 kann nicht gelesen werden</translation>
    </message>
    <message>
        <source>unknown log level &apos;%1&apos;, known are %2</source>
        <translation>Unbekannte Log-Stufe „%1“, bekannt sind %2</translation>
    </message>
    <message>
        <source>cannot write: %1</source>
        <translation>Schreiben nicht möglich: %1</translation>
    </message>
    <message>
        <source>cannot use the state directory %1: %2</source>
        <translation>Das Zustandsverzeichnis %1 kann nicht benutzt werden: %2</translation>
    </message>
    <message>
        <source>it cannot be created</source>
        <translation>Es kann nicht angelegt werden</translation>
    </message>
    <message>
        <source>another process uses it</source>
        <translation>Ein anderer Prozess benutzt es</translation>
    </message>
    <message>
        <source>timed out</source>
        <translation>Zeit abgelaufen</translation>
    </message>
    <message>
        <source>no server answers at %1 (%2): &apos;tavo serve&apos; starts one</source>
        <translation>Unter %1 antwortet kein Server (%2): „tavo serve“ startet einen</translation>
    </message>
    <message>
        <source>the server at %1 gives no answer (%2)</source>
        <translation>Der Server unter %1 antwortet nicht (%2)</translation>
    </message>
    <message>
        <source>the server at %1 needs a token: --token-file FILE</source>
        <translation>Der Server unter %1 verlangt ein Token: --token-file DATEI</translation>
    </message>
    <message>
        <source>the server at %1 does not accept the token</source>
        <translation>Der Server unter %1 nimmt das Token nicht an</translation>
    </message>
    <message>
        <source>no tavo server answers at %1 (status %2)</source>
        <translation>Unter %1 antwortet kein tavo-Server (Status %2)</translation>
    </message>
    <message>
        <source>the server at %1 does not serve that name: &apos;tavo serve --host NAME&apos; allows it</source>
        <translation>Der Server unter %1 dient diesem Namen nicht: „tavo serve --host NAME“ erlaubt ihn</translation>
    </message>
    <message>
        <source>the server at %1 was sent too many wrong tokens: wait for a minute</source>
        <translation>Der Server unter %1 hat zu viele falsche Token bekommen: eine Minute warten</translation>
    </message>
    <message>
        <source>the server at %1 refuses with status %2</source>
        <translation>Der Server unter %1 lehnt mit Status %2 ab</translation>
    </message>
    <message>
        <source>what answers at %1 is no tavo server</source>
        <translation>Was unter %1 antwortet, ist kein tavo-Server</translation>
    </message>
    <message>
        <source>&apos;%1&apos; needs https, which this program does not speak: name the server&apos;s own http address</source>
        <translation>„%1“ braucht https, das dieses Programm nicht spricht: die http-Adresse des Servers selbst nennen</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is no server&apos;s address, such as http://127.0.0.1:8420/</source>
        <translation>„%1“ ist keine Adresse eines Servers wie http://127.0.0.1:8420/</translation>
    </message>
    <message>
        <source>TITLE</source>
        <translation>TITEL</translation>
    </message>
    <message>
        <source>ARTIST</source>
        <translation>INTERPRET</translation>
    </message>
    <message>
        <source>ALBUM</source>
        <translation>ALBUM</translation>
    </message>
    <message>
        <source>DURATION</source>
        <translation>DAUER</translation>
    </message>
    <message>
        <source>MODIFIED</source>
        <translation>GEÄNDERT</translation>
    </message>
    <message>
        <source>TYPE</source>
        <translation>ART</translation>
    </message>
    <message>
        <source>  %1 files/s</source>
        <translation>  %1 Dateien/s</translation>
    </message>
    <message>
        <source>%1 of %2 files%3  %4</source>
        <translation>%1 von %2 Dateien%3  %4</translation>
    </message>
    <message>
        <source>yes</source>
        <translation>ja</translation>
    </message>
    <message>
        <source>no</source>
        <translation>nein</translation>
    </message>
    <message>
        <source>the rows of &apos;%1&apos; change faster than they can be read</source>
        <translation>Die Zeilen von „%1“ ändern sich schneller, als sie gelesen werden können</translation>
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
