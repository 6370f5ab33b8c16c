<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de">
<context>
    <name>ActionButton</name>
    <message>
        <source>at work</source>
        <translation>läuft</translation>
    </message>
</context>
<context>
    <name>Battery</name>
    <message>
        <source>Battery %1</source>
        <translation>Batterie %1</translation>
    </message>
</context>
<context>
    <name>Command</name>
    <message>
        <source>refused: %1</source>
        <translation>abgelehnt: %1</translation>
    </message>
    <message>
        <source>not done: %1</source>
        <translation>nicht ausgeführt: %1</translation>
    </message>
    <message>
        <source>unknown: look at the printer</source>
        <translation>unklar: am Drucker nachsehen</translation>
    </message>
    <message>
        <source>%1: %2</source>
        <comment>a command and its outcome</comment>
        <translation>%1: %2</translation>
    </message>
    <message>
        <source>print engine is not running</source>
        <translation>Druckwerk läuft nicht</translation>
    </message>
</context>
<context>
    <name>Daemon</name>
    <message>
        <source>not known</source>
        <translation>unbekannt</translation>
    </message>
    <message>
        <source>no reply</source>
        <translation>antwortet nicht</translation>
    </message>
    <message>
        <source>not running</source>
        <translation>läuft nicht</translation>
    </message>
    <message>
        <source>running</source>
        <translation>läuft</translation>
    </message>
</context>
<context>
    <name>Details</name>
    <message>
        <source>In full</source>
        <translation>Vollständig</translation>
    </message>
</context>
<context>
    <name>Engine</name>
    <message>
        <source>Looking for the printer</source>
        <translation>Drucker wird gesucht</translation>
    </message>
    <message>
        <source>Stopped: %1</source>
        <translation>Angehalten: %1</translation>
    </message>
    <message numerus="yes">
        <source>Printing, %Ln label(s)</source>
        <translation>
            <numerusform>Druckt, %Ln Etikett</numerusform>
            <numerusform>Druckt, %Ln Etiketten</numerusform>
        </translation>
    </message>
    <message>
        <source>Printing</source>
        <translation>Druckt</translation>
    </message>
    <message>
        <source>Print engine does not report its state</source>
        <translation>Druckwerk verweigert Auskunft</translation>
    </message>
    <message>
        <source>Print engine does not reply</source>
        <translation>Druckwerk antwortet nicht</translation>
    </message>
    <message>
        <source>Waiting for the print engine</source>
        <translation>Warten auf das Druckwerk</translation>
    </message>
    <message>
        <source>Stopped: a job waits</source>
        <translation>Angehalten: Auftrag wartet</translation>
    </message>
    <message>
        <source>Ready, but %1</source>
        <translation>Bereit, aber %1</translation>
    </message>
    <message>
        <source>Ready</source>
        <translation>Bereit</translation>
    </message>
    <message>
        <source>No connection to the printer</source>
        <translation>Keine Verbindung zum Drucker</translation>
    </message>
    <message>
        <source>Print engine is not running</source>
        <translation>Druckwerk läuft nicht</translation>
    </message>
</context>
<context>
    <name>EventLog</name>
    <message>
        <source>%1 is running</source>
        <translation>%1 läuft</translation>
    </message>
    <message>
        <source>%1 has stopped</source>
        <translation>%1 läuft nicht mehr</translation>
    </message>
</context>
<context>
    <name>Help</name>
    <message>
        <source>Help</source>
        <translation>Hilfe</translation>
    </message>
    <message>
        <source>unknown</source>
        <translation>unklar</translation>
    </message>
    <message>
        <source>The printer may have done it, or not: look before you ask again.</source>
        <translation>Der Drucker hat es vielleicht getan: erst nachsehen, dann noch einmal.</translation>
    </message>
    <message>
        <source>Keys</source>
        <translation>Tasten</translation>
    </message>
    <message>
        <source>F1 to F8 as on the buttons, or the arrow keys and Enter. Letters do nothing.</source>
        <translation>F1 bis F8 wie auf den Knöpfen, oder Pfeiltasten und Eingabe. Buchstaben bewirken nichts.</translation>
    </message>
</context>
<context>
    <name>Panel</name>
    <message>
        <source>the printer&apos;s buttons do not work</source>
        <translation>die Knöpfe am Drucker wirken nicht</translation>
    </message>
    <message>
        <source>I/O expander</source>
        <translation>E/A-Dienst</translation>
    </message>
    <message>
        <source>Print engine</source>
        <translation>Druckwerk</translation>
    </message>
    <message>
        <source>unknown: look at the printer</source>
        <translation>unklar: am Drucker nachsehen</translation>
    </message>
    <message>
        <source>Supply daemon</source>
        <translation>Materialdienst</translation>
    </message>
    <message>
        <source>stopped: %1</source>
        <translation>angehalten: %1</translation>
    </message>
    <message>
        <source>stopped</source>
        <translation>angehalten</translation>
    </message>
    <message>
        <source>printed</source>
        <translation>gedruckt</translation>
    </message>
    <message>
        <source>Print</source>
        <translation>Drucken</translation>
    </message>
    <message>
        <source>retry the job</source>
        <translation>Auftrag fortsetzen</translation>
    </message>
    <message>
        <source>tries the stopped job again, once the cause is gone.</source>
        <translation>setzt den angehaltenen Auftrag fort, wenn die Ursache behoben ist.</translation>
    </message>
    <message>
        <source>printing</source>
        <translation>druckt</translation>
    </message>
    <message>
        <source>no stopped job</source>
        <translation>kein angehaltener Auftrag</translation>
    </message>
    <message>
        <source>Feed</source>
        <translation>Vorschub</translation>
    </message>
    <message>
        <source>50 mm</source>
        <translation>50&#xa0;mm</translation>
    </message>
    <message>
        <source>moves the supply by 50 mm.</source>
        <translation>bewegt das Material um 50&#xa0;mm.</translation>
    </message>
    <message>
        <source>fed</source>
        <translation>Vorschub fertig</translation>
    </message>
    <message>
        <source>refused by the printer</source>
        <translation>vom Drucker abgelehnt</translation>
    </message>
    <message>
        <source>Cut</source>
        <translation>Schneiden</translation>
    </message>
    <message>
        <source>once</source>
        <translation>einmal</translation>
    </message>
    <message>
        <source>runs the cutter once.</source>
        <translation>schneidet einmal.</translation>
    </message>
    <message>
        <source>cut</source>
        <comment>it was done</comment>
        <translation>geschnitten</translation>
    </message>
    <message>
        <source>Calibrate</source>
        <translation>Kalibrieren</translation>
    </message>
    <message>
        <source>supply</source>
        <comment>what is calibrated</comment>
        <translation>Material</translation>
    </message>
    <message>
        <source>measures the loaded supply.</source>
        <translation>misst das eingelegte Material aus.</translation>
    </message>
    <message>
        <source>calibrated</source>
        <translation>kalibriert</translation>
    </message>
    <message>
        <source>Load</source>
        <translation>Einlegen</translation>
    </message>
    <message>
        <source>new rolls</source>
        <translation>neue Rollen</translation>
    </message>
    <message>
        <source>reads the tags of new rolls.</source>
        <translation>liest die Chips neuer Rollen.</translation>
    </message>
    <message>
        <source>tags read</source>
        <translation>Chips gelesen</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>stop the job</source>
        <translation>Auftrag anhalten</translation>
    </message>
    <message>
        <source>stops the job, which then waits for Print or Clear.</source>
        <translation>hält den Auftrag an; er wartet dann auf Drucken oder Löschen.</translation>
    </message>
    <message>
        <source>job stopped</source>
        <translation>Auftrag angehalten</translation>
    </message>
    <message>
        <source>no job is printing</source>
        <translation>es druckt kein Auftrag</translation>
    </message>
    <message>
        <source>Clear</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <source>drop the job</source>
        <translation>Auftrag verwerfen</translation>
    </message>
    <message>
        <source>takes the job out of the queue, after a question.</source>
        <translation>nimmt den Auftrag nach einer Rückfrage aus der Warteschlange.</translation>
    </message>
    <message>
        <source>job dropped</source>
        <translation>Auftrag verworfen</translation>
    </message>
    <message>
        <source>no job to drop</source>
        <translation>kein Auftrag da</translation>
    </message>
    <message>
        <source>I/O</source>
        <translation>E/A</translation>
    </message>
    <message>
        <source>Engine</source>
        <translation>Druck</translation>
    </message>
    <message>
        <source>Supply</source>
        <comment>the daemon</comment>
        <translation>Material</translation>
    </message>
    <message>
        <source>Lid</source>
        <translation>Deckel</translation>
    </message>
    <message>
        <source>closed</source>
        <translation>zu</translation>
    </message>
    <message>
        <source>open</source>
        <translation>offen</translation>
    </message>
    <message>
        <source>Latch</source>
        <translation>Riegel</translation>
    </message>
    <message>
        <source>Cutter cover</source>
        <translation>Schneideklappe</translation>
    </message>
    <message>
        <source>Cutter</source>
        <translation>Messer</translation>
    </message>
    <message>
        <source>moving</source>
        <translation>bewegt sich</translation>
    </message>
    <message>
        <source>home</source>
        <translation>in Ruhe</translation>
    </message>
    <message>
        <source>Events</source>
        <translation>Ereignisse</translation>
    </message>
    <message>
        <source>Help</source>
        <translation>Hilfe</translation>
    </message>
    <message>
        <source>list of commands</source>
        <translation>Liste der Befehle</translation>
    </message>
    <message>
        <source>Label printer</source>
        <translation>Etikettendrucker</translation>
    </message>
    <message>
        <source>supply daemon is not running</source>
        <translation>Materialdienst läuft nicht</translation>
    </message>
</context>
<context>
    <name>Question</name>
    <message>
        <source>Keep the job</source>
        <translation>Behalten</translation>
    </message>
    <message>
        <source>Drop the job?</source>
        <translation>Auftrag verwerfen?</translation>
    </message>
    <message>
        <source>The job is taken out of the queue, and its labels that are not printed are lost.</source>
        <translation>Der Auftrag wird aus der Warteschlange genommen; nicht gedruckte Etiketten entfallen.</translation>
    </message>
    <message>
        <source>Drop the job</source>
        <translation>Verwerfen</translation>
    </message>
</context>
<context>
    <name>RibbonRoll</name>
    <message>
        <source>Ribbon %1</source>
        <translation>Farbband %1</translation>
    </message>
</context>
<context>
    <name>Roll</name>
    <message>
        <source>no roll loaded</source>
        <translation>nichts eingelegt</translation>
    </message>
    <message>
        <source>not known</source>
        <translation>unbekannt</translation>
    </message>
    <message>
        <source>? %</source>
        <comment>a share that is not known</comment>
        <translation>?&#xa0;%</translation>
    </message>
</context>
<context>
    <name>Sheet</name>
    <message>
        <source>Touch anywhere, or press Esc, to go back.</source>
        <translation>Zurück: irgendwo berühren oder Esc drücken.</translation>
    </message>
</context>
<context>
    <name>SupplyRoll</name>
    <message>
        <source>Supply</source>
        <translation>Material</translation>
    </message>
</context>
<context>
    <name>Switch</name>
    <message>
        <source>not known</source>
        <translation>unbekannt</translation>
    </message>
</context>
<context>
    <name>Words</name>
    <message>
        <source>lid open</source>
        <translation>Deckel offen</translation>
    </message>
    <message>
        <source>cutter cover open</source>
        <translation>Schneideklappe offen</translation>
    </message>
    <message>
        <source>supply latch open</source>
        <translation>Riegel offen</translation>
    </message>
    <message>
        <source>supply is out</source>
        <translation>Material zu Ende</translation>
    </message>
    <message>
        <source>ribbon 1 is out</source>
        <translation>Farbband 1 zu Ende</translation>
    </message>
    <message>
        <source>ribbon 2 is out</source>
        <translation>Farbband 2 zu Ende</translation>
    </message>
    <message>
        <source>print head 1 is hot</source>
        <translation>Druckkopf 1 ist heiß</translation>
    </message>
    <message>
        <source>print head 2 is hot</source>
        <translation>Druckkopf 2 ist heiß</translation>
    </message>
    <message>
        <source>error %1</source>
        <translation>Fehler %1</translation>
    </message>
    <message>
        <source>battery is low</source>
        <translation>Batterie schwach</translation>
    </message>
    <message>
        <source>supply is low</source>
        <translation>wenig Material</translation>
    </message>
    <message>
        <source>ribbon 1 is low</source>
        <translation>Farbband 1 geht zu Ende</translation>
    </message>
    <message>
        <source>ribbon 2 is low</source>
        <translation>Farbband 2 geht zu Ende</translation>
    </message>
    <message>
        <source>alert %1</source>
        <translation>Warnung %1</translation>
    </message>
    <message>
        <source>Print button</source>
        <translation>Knopf Drucken</translation>
    </message>
    <message>
        <source>Help button</source>
        <translation>Knopf Hilfe</translation>
    </message>
    <message>
        <source>Cancel button</source>
        <translation>Knopf Abbrechen</translation>
    </message>
    <message>
        <source>Lid opened</source>
        <translation>Deckel geöffnet</translation>
    </message>
    <message>
        <source>Lid closed</source>
        <translation>Deckel geschlossen</translation>
    </message>
    <message>
        <source>Cutter cover opened</source>
        <translation>Schneideklappe geöffnet</translation>
    </message>
    <message>
        <source>Cutter cover closed</source>
        <translation>Schneideklappe geschlossen</translation>
    </message>
    <message>
        <source>Supply latch opened</source>
        <translation>Riegel geöffnet</translation>
    </message>
    <message>
        <source>Supply latch closed</source>
        <translation>Riegel geschlossen</translation>
    </message>
    <message>
        <source>Cutter is home</source>
        <translation>Messer in Ruhe</translation>
    </message>
    <message>
        <source>Cutter moves</source>
        <translation>Messer bewegt sich</translation>
    </message>
    <message>
        <source>Print head 1 has a fault</source>
        <translation>Druckkopf 1 ist gestört</translation>
    </message>
    <message>
        <source>Print head 2 has a fault</source>
        <translation>Druckkopf 2 ist gestört</translation>
    </message>
    <message>
        <source>Error is over</source>
        <translation>Fehler behoben</translation>
    </message>
    <message>
        <source>Error: %1</source>
        <translation>Fehler: %1</translation>
    </message>
    <message>
        <source>Alert is over</source>
        <translation>Warnung behoben</translation>
    </message>
    <message>
        <source>Alert: %1</source>
        <translation>Warnung: %1</translation>
    </message>
    <message>
        <source>Print queue is full</source>
        <translation>Warteschlange voll</translation>
    </message>
    <message>
        <source>Print queue is cleared</source>
        <translation>Warteschlange geleert</translation>
    </message>
    <message>
        <source>All jobs are printed</source>
        <translation>Alle Aufträge gedruckt</translation>
    </message>
    <message>
        <source>Supply is now %1</source>
        <translation>Material jetzt %1</translation>
    </message>
    <message>
        <source>Ribbons are now %1</source>
        <translation>Farbbänder jetzt %1</translation>
    </message>
    <message>
        <source>%1 %</source>
        <comment>a share, with its unit</comment>
        <translation>%1&#xa0;%</translation>
    </message>
</context>
</TS>
