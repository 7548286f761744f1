<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fr_FR" sourcelanguage="en">
<context>
    <name>Localizable</name>
    <message>
        <source>Up Arrow</source>
        <translation>Flèche haut</translation>
    </message>
    <message>
        <source>Down Arrow</source>
        <translation>Flèche bas</translation>
    </message>
    <message>
        <source>Left Arrow</source>
        <translation>Flèche gauche</translation>
    </message>
    <message>
        <source>Right Arrow</source>
        <translation>Flèche droite</translation>
    </message>
    <message>
        <source>Home</source>
        <translation>Début</translation>
    </message>
    <message>
        <source>End</source>
        <translation>Fin</translation>
    </message>
    <message>
        <source>Page Up</source>
        <translation>Page précédente</translation>
    </message>
    <message>
        <source>Page Down</source>
        <translation>Page suivante</translation>
    </message>
    <message>
        <source>Return</source>
        <translation>Entrée (pavé numérique)</translation>
    </message>
    <message>
        <source>Tab</source>
        <translation>Tabulation</translation>
    </message>
    <message>
        <source>Backtab</source>
        <translation>Tabulation arrière</translation>
    </message>
    <message>
        <source>Enter</source>
        <translation>Entrée</translation>
    </message>
    <message>
        <source>Backspace</source>
        <translation>Retour arrière</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Suppr</translation>
    </message>
    <message>
        <source>Escape</source>
        <translation>Échap</translation>
    </message>
    <message>
        <source>Space</source>
        <translation>Espace</translation>
    </message>
</context>
</TS>
