<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fr">
<context>
    <name>ActionButton</name>
    <message>
        <source>at work</source>
        <translation>en cours</translation>
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
        <translation>refusé&#xa0;: %1</translation>
    </message>
    <message>
        <source>not done: %1</source>
        <translation>pas fait&#xa0;: %1</translation>
    </message>
    <message>
        <source>unknown: look at the printer</source>
        <translation>inconnu&#xa0;: voir l’imprimante</translation>
    </message>
    <message>
        <source>%1: %2</source>
        <comment>a command and its outcome</comment>
        <translation>%1&#xa0;: %2</translation>
    </message>
    <message>
        <source>print engine is not running</source>
        <translation>moteur d’impression à l’arrêt</translation>
    </message>
</context>
<context>
    <name>Daemon</name>
    <message>
        <source>not known</source>
        <translation>inconnu</translation>
    </message>
    <message>
        <source>no reply</source>
        <translation>ne répond pas</translation>
    </message>
    <message>
        <source>not running</source>
        <translation>à l’arrêt</translation>
    </message>
    <message>
        <source>running</source>
        <translation>en service</translation>
    </message>
</context>
<context>
    <name>Details</name>
    <message>
        <source>In full</source>
        <translation>En entier</translation>
    </message>
</context>
<context>
    <name>Engine</name>
    <message>
        <source>Looking for the printer</source>
        <translation>Recherche de l’imprimante</translation>
    </message>
    <message>
        <source>Stopped: %1</source>
        <translation>Arrêt&#xa0;: %1</translation>
    </message>
    <message numerus="yes">
        <source>Printing, %Ln label(s)</source>
        <translation>
            <numerusform>Impression, %Ln étiquette</numerusform>
            <numerusform>Impression, %Ln étiquettes</numerusform>
        </translation>
    </message>
    <message>
        <source>Printing</source>
        <translation>Impression</translation>
    </message>
    <message>
        <source>Print engine does not report its state</source>
        <translation>Le moteur refuse de répondre</translation>
    </message>
    <message>
        <source>Print engine does not reply</source>
        <translation>Le moteur ne répond pas</translation>
    </message>
    <message>
        <source>Waiting for the print engine</source>
        <translation>Attente du moteur</translation>
    </message>
    <message>
        <source>Stopped: a job waits</source>
        <translation>Arrêt&#xa0;: un travail attend</translation>
    </message>
    <message>
        <source>Ready, but %1</source>
        <translation>Prête, mais %1</translation>
    </message>
    <message>
        <source>Ready</source>
        <translation>Prête</translation>
    </message>
    <message>
        <source>No connection to the printer</source>
        <translation>Pas de connexion</translation>
    </message>
    <message>
        <source>Print engine is not running</source>
        <translation>Moteur à l’arrêt</translation>
    </message>
</context>
<context>
    <name>EventLog</name>
    <message>
        <source>%1 is running</source>
        <translation>%1&#xa0;: en service</translation>
    </message>
    <message>
        <source>%1 has stopped</source>
        <translation>%1&#xa0;: arrêté</translation>
    </message>
</context>
<context>
    <name>Help</name>
    <message>
        <source>Help</source>
        <translation>Aide</translation>
    </message>
    <message>
        <source>unknown</source>
        <translation>inconnu</translation>
    </message>
    <message>
        <source>The printer may have done it, or not: look before you ask again.</source>
        <translation>L’imprimante l’a peut-être fait&#xa0;: regardez avant de recommencer.</translation>
    </message>
    <message>
        <source>Keys</source>
        <translation>Touches</translation>
    </message>
    <message>
        <source>F1 to F8 as on the buttons, or the arrow keys and Enter. Letters do nothing.</source>
        <translation>F1 à F8 comme sur les boutons, ou les flèches et Entrée. Les lettres ne font rien.</translation>
    </message>
</context>
<context>
    <name>Panel</name>
    <message>
        <source>the printer&apos;s buttons do not work</source>
        <translation>les boutons de l’imprimante sont sans effet</translation>
    </message>
    <message>
        <source>I/O expander</source>
        <translation>Service E/S</translation>
    </message>
    <message>
        <source>Print engine</source>
        <translation>Moteur d’impression</translation>
    </message>
    <message>
        <source>unknown: look at the printer</source>
        <translation>inconnu&#xa0;: voir l’imprimante</translation>
    </message>
    <message>
        <source>Supply daemon</source>
        <translation>Service des consommables</translation>
    </message>
    <message>
        <source>stopped: %1</source>
        <translation>arrêt&#xa0;: %1</translation>
    </message>
    <message>
        <source>stopped</source>
        <translation>arrêté</translation>
    </message>
    <message>
        <source>printed</source>
        <translation>imprimé</translation>
    </message>
    <message>
        <source>Print</source>
        <translation>Imprimer</translation>
    </message>
    <message>
        <source>retry the job</source>
        <translation>reprendre le travail</translation>
    </message>
    <message>
        <source>tries the stopped job again, once the cause is gone.</source>
        <translation>reprend le travail arrêté, une fois la cause disparue.</translation>
    </message>
    <message>
        <source>printing</source>
        <translation>impression</translation>
    </message>
    <message>
        <source>no stopped job</source>
        <translation>aucun travail arrêté</translation>
    </message>
    <message>
        <source>Feed</source>
        <translation>Avancer</translation>
    </message>
    <message>
        <source>50 mm</source>
        <translation>50&#xa0;mm</translation>
    </message>
    <message>
        <source>moves the supply by 50 mm.</source>
        <translation>avance le support de 50&#xa0;mm.</translation>
    </message>
    <message>
        <source>fed</source>
        <translation>avancé</translation>
    </message>
    <message>
        <source>refused by the printer</source>
        <translation>refusé par l’imprimante</translation>
    </message>
    <message>
        <source>Cut</source>
        <translation>Couper</translation>
    </message>
    <message>
        <source>once</source>
        <translation>une fois</translation>
    </message>
    <message>
        <source>runs the cutter once.</source>
        <translation>actionne le massicot une fois.</translation>
    </message>
    <message>
        <source>cut</source>
        <comment>it was done</comment>
        <translation>coupé</translation>
    </message>
    <message>
        <source>Calibrate</source>
        <translation>Calibrer</translation>
    </message>
    <message>
        <source>supply</source>
        <comment>what is calibrated</comment>
        <translation>support</translation>
    </message>
    <message>
        <source>measures the loaded supply.</source>
        <translation>mesure le support en place.</translation>
    </message>
    <message>
        <source>calibrated</source>
        <translation>calibré</translation>
    </message>
    <message>
        <source>Load</source>
        <translation>Charger</translation>
    </message>
    <message>
        <source>new rolls</source>
        <translation>nouveaux rouleaux</translation>
    </message>
    <message>
        <source>reads the tags of new rolls.</source>
        <translation>lit les puces des nouveaux rouleaux.</translation>
    </message>
    <message>
        <source>tags read</source>
        <translation>puces lues</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Annuler</translation>
    </message>
    <message>
        <source>stop the job</source>
        <translation>arrêter le travail</translation>
    </message>
    <message>
        <source>stops the job, which then waits for Print or Clear.</source>
        <translation>arrête le travail, qui attend alors Imprimer ou Effacer.</translation>
    </message>
    <message>
        <source>job stopped</source>
        <translation>travail arrêté</translation>
    </message>
    <message>
        <source>no job is printing</source>
        <translation>rien ne s’imprime</translation>
    </message>
    <message>
        <source>Clear</source>
        <translation>Effacer</translation>
    </message>
    <message>
        <source>drop the job</source>
        <translation>abandonner le travail</translation>
    </message>
    <message>
        <source>takes the job out of the queue, after a question.</source>
        <translation>retire le travail de la file, après une question.</translation>
    </message>
    <message>
        <source>job dropped</source>
        <translation>travail abandonné</translation>
    </message>
    <message>
        <source>no job to drop</source>
        <translation>aucun travail</translation>
    </message>
    <message>
        <source>I/O</source>
        <translation>E/S</translation>
    </message>
    <message>
        <source>Engine</source>
        <translation>Moteur</translation>
    </message>
    <message>
        <source>Supply</source>
        <comment>the daemon</comment>
        <translation>Support</translation>
    </message>
    <message>
        <source>Lid</source>
        <translation>Capot</translation>
    </message>
    <message>
        <source>closed</source>
        <translation>fermé</translation>
    </message>
    <message>
        <source>open</source>
        <translation>ouvert</translation>
    </message>
    <message>
        <source>Latch</source>
        <translation>Loquet</translation>
    </message>
    <message>
        <source>Cutter cover</source>
        <translation>Capot massicot</translation>
    </message>
    <message>
        <source>Cutter</source>
        <translation>Massicot</translation>
    </message>
    <message>
        <source>moving</source>
        <translation>en marche</translation>
    </message>
    <message>
        <source>home</source>
        <translation>au repos</translation>
    </message>
    <message>
        <source>Events</source>
        <translation>Événements</translation>
    </message>
    <message>
        <source>Help</source>
        <translation>Aide</translation>
    </message>
    <message>
        <source>list of commands</source>
        <translation>liste des commandes</translation>
    </message>
    <message>
        <source>Label printer</source>
        <translation>Imprimante d’étiquettes</translation>
    </message>
    <message>
        <source>supply daemon is not running</source>
        <translation>service des consommables à l’arrêt</translation>
    </message>
</context>
<context>
    <name>Question</name>
    <message>
        <source>Keep the job</source>
        <translation>Garder</translation>
    </message>
    <message>
        <source>Drop the job?</source>
        <translation>Abandonner le travail&#xa0;?</translation>
    </message>
    <message>
        <source>The job is taken out of the queue, and its labels that are not printed are lost.</source>
        <translation>Le travail est retiré de la file&#xa0;; ses étiquettes non imprimées sont perdues.</translation>
    </message>
    <message>
        <source>Drop the job</source>
        <translation>Abandonner</translation>
    </message>
</context>
<context>
    <name>RibbonRoll</name>
    <message>
        <source>Ribbon %1</source>
        <translation>Ruban %1</translation>
    </message>
</context>
<context>
    <name>Roll</name>
    <message>
        <source>no roll loaded</source>
        <translation>rien en place</translation>
    </message>
    <message>
        <source>not known</source>
        <translation>inconnu</translation>
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
        <translation>Pour revenir&#xa0;: touchez l’écran ou appuyez sur Échap.</translation>
    </message>
</context>
<context>
    <name>SupplyRoll</name>
    <message>
        <source>Supply</source>
        <translation>Support</translation>
    </message>
</context>
<context>
    <name>Switch</name>
    <message>
        <source>not known</source>
        <translation>inconnu</translation>
    </message>
</context>
<context>
    <name>Words</name>
    <message>
        <source>lid open</source>
        <translation>capot ouvert</translation>
    </message>
    <message>
        <source>cutter cover open</source>
        <translation>capot du massicot ouvert</translation>
    </message>
    <message>
        <source>supply latch open</source>
        <translation>loquet ouvert</translation>
    </message>
    <message>
        <source>supply is out</source>
        <translation>plus de support</translation>
    </message>
    <message>
        <source>ribbon 1 is out</source>
        <translation>plus de ruban 1</translation>
    </message>
    <message>
        <source>ribbon 2 is out</source>
        <translation>plus de ruban 2</translation>
    </message>
    <message>
        <source>print head 1 is hot</source>
        <translation>tête 1 trop chaude</translation>
    </message>
    <message>
        <source>print head 2 is hot</source>
        <translation>tête 2 trop chaude</translation>
    </message>
    <message>
        <source>error %1</source>
        <translation>erreur %1</translation>
    </message>
    <message>
        <source>battery is low</source>
        <translation>batterie faible</translation>
    </message>
    <message>
        <source>supply is low</source>
        <translation>peu de support</translation>
    </message>
    <message>
        <source>ribbon 1 is low</source>
        <translation>peu de ruban 1</translation>
    </message>
    <message>
        <source>ribbon 2 is low</source>
        <translation>peu de ruban 2</translation>
    </message>
    <message>
        <source>alert %1</source>
        <translation>alerte %1</translation>
    </message>
    <message>
        <source>Print button</source>
        <translation>Bouton Imprimer</translation>
    </message>
    <message>
        <source>Help button</source>
        <translation>Bouton Aide</translation>
    </message>
    <message>
        <source>Cancel button</source>
        <translation>Bouton Annuler</translation>
    </message>
    <message>
        <source>Lid opened</source>
        <translation>Capot ouvert</translation>
    </message>
    <message>
        <source>Lid closed</source>
        <translation>Capot fermé</translation>
    </message>
    <message>
        <source>Cutter cover opened</source>
        <translation>Capot du massicot ouvert</translation>
    </message>
    <message>
        <source>Cutter cover closed</source>
        <translation>Capot du massicot fermé</translation>
    </message>
    <message>
        <source>Supply latch opened</source>
        <translation>Loquet ouvert</translation>
    </message>
    <message>
        <source>Supply latch closed</source>
        <translation>Loquet fermé</translation>
    </message>
    <message>
        <source>Cutter is home</source>
        <translation>Massicot au repos</translation>
    </message>
    <message>
        <source>Cutter moves</source>
        <translation>Massicot en marche</translation>
    </message>
    <message>
        <source>Print head 1 has a fault</source>
        <translation>Défaut de la tête 1</translation>
    </message>
    <message>
        <source>Print head 2 has a fault</source>
        <translation>Défaut de la tête 2</translation>
    </message>
    <message>
        <source>Error is over</source>
        <translation>Erreur terminée</translation>
    </message>
    <message>
        <source>Error: %1</source>
        <translation>Erreur&#xa0;: %1</translation>
    </message>
    <message>
        <source>Alert is over</source>
        <translation>Alerte terminée</translation>
    </message>
    <message>
        <source>Alert: %1</source>
        <translation>Alerte&#xa0;: %1</translation>
    </message>
    <message>
        <source>Print queue is full</source>
        <translation>File d’impression pleine</translation>
    </message>
    <message>
        <source>Print queue is cleared</source>
        <translation>File d’impression vidée</translation>
    </message>
    <message>
        <source>All jobs are printed</source>
        <translation>Tous les travaux sont imprimés</translation>
    </message>
    <message>
        <source>Supply is now %1</source>
        <translation>Support&#xa0;: %1</translation>
    </message>
    <message>
        <source>Ribbons are now %1</source>
        <translation>Rubans&#xa0;: %1</translation>
    </message>
    <message>
        <source>%1 %</source>
        <comment>a share, with its unit</comment>
        <translation>%1&#xa0;%</translation>
    </message>
</context>
</TS>
