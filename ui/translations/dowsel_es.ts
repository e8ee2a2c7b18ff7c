<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="es">
<context>
    <name>ByteCount</name>
    <message>
        <source>Zero KB</source>
        <translation>Cero KB</translation>
    </message>
    <message>
        <source>1 byte</source>
        <translation>1 byte</translation>
    </message>
    <message>
        <source>%1 bytes</source>
        <translation>%1 bytes</translation>
    </message>
</context>
<context>
    <name>CountdownIndicator</name>
    <message>
        <source>%1m</source>
        <translation>%1 min</translation>
    </message>
    <message>
        <source>%1h</source>
        <translation>%1 h</translation>
    </message>
    <message>
        <source>%1h %2m</source>
        <translation>%1 h %2 min</translation>
    </message>
    <message>
        <source>Deleting…</source>
        <translation>Eliminando…</translation>
    </message>
    <message>
        <source>&lt;1m</source>
        <translation>&lt;1 min</translation>
    </message>
</context>
<context>
    <name>ExpiryUnit</name>
    <message>
        <source>minute</source>
        <translation>minuto</translation>
    </message>
    <message>
        <source>minutes</source>
        <translation>minutos</translation>
    </message>
    <message>
        <source>hour</source>
        <translation>hora</translation>
    </message>
    <message>
        <source>hours</source>
        <translation>horas</translation>
    </message>
    <message>
        <source>day</source>
        <translation>día</translation>
    </message>
    <message>
        <source>days</source>
        <translation>días</translation>
    </message>
</context>
<context>
    <name>IgnoredFileRow</name>
    <message>
        <source>Mark as temporary (auto-deletes after %1 %2)</source>
        <translation>Marcar como temporal (se elimina tras %1 %2)</translation>
    </message>
</context>
<context>
    <name>Onboarding</name>
    <message>
        <source>Welcome to Dowsel</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Dowsel watches your Downloads folder for new files and helps you sort them or auto-clean them — all from a little toast at the top of your screen.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Get Started</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Allow access to Downloads</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Dowsel needs to see new files in your Downloads folder. It only checks that it can read the folder — there is nothing to allow.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Grant Access</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Enable keyboard shortcuts</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Shortcuts let you keep, move, or clean a download without reaching for the mouse. Dowsel checks that no other program already uses them.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Keep</source>
        <translation type="unfinished">Conservar</translation>
    </message>
    <message>
        <source>Move</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>More</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Enable Shortcuts</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Try it on a real file</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Dowsel will drop a little practice file in your Downloads so you can see the toast for real and try the shortcuts. Don&apos;t worry — it&apos;s harmless, and you decide what happens to it.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Test it now</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Access was denied. Make your Downloads folder readable under Permissions in your file manager, then try again.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>There is no Downloads folder at %1 yet. Dowsel can create it for you.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Another program already uses %1. Free them in your desktop&apos;s keyboard settings, or skip — the other shortcuts and the toast&apos;s buttons still work.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Global shortcuts aren&apos;t available on this desktop. Skip this step — the toast&apos;s buttons still work.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The practice toast didn&apos;t show up — Dowsel may not be watching your Downloads folder yet. Try again, or skip for now.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open File Manager</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open Settings</source>
        <translation type="unfinished">Abrir configuración</translation>
    </message>
    <message>
        <source>Waiting for permission…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Checking shortcuts…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Create Folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Try Again</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Downloads access granted</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Shortcuts active</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Keep it — Dowsel auto-deletes it in </source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Keep it for a custom amount of time you choose.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Move it somewhere, with fuzzy search.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>More — open, copy, share, or delete.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Dismiss — the file just stays in Downloads.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Done</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Your practice file is live — try the shortcuts on it.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Hover the toast to pause the countdown.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Time&apos;s up. Dowsel just leaves it in your Downloads — no rush, keep exploring.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Nice — you&apos;ve got the hang of it!</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Your practice file now wears the “Dowsel: Temporary” tag — file managers that show tags, such as Dolphin, display it. That&apos;s how Dowsel marks anything temporary. Open Dowsel from the system tray anytime to see how long it has left.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Your practice file is all yours — keep it, move it, or toss it whenever. You&apos;re ready to go.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>All right</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Change the time in Settings</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Skip for now</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>PracticeFile</name>
    <message>
        <source>Dowsel README.md</source>
        <extracomment>Practice file name; keep the .md extension</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source># Welcome to Dowsel 🧹

Dowsel watches your Downloads folder and helps you keep it tidy. Whenever a new file shows up, a little toast appears so you can decide what to do with it — right from the keyboard.

This file is just a demo so you can practice. While its toast is showing, try:

- **Super+Shift+T** — Keep it. Dowsel auto-deletes it later (you choose when, in Settings).
- **Super+Shift+Alt+T** — Keep it for a custom amount of time.
- **Super+Shift+M** — Move it somewhere, with fuzzy search.
- **Super+Shift+.** — More: open, copy, share, or delete.
- **Super+Shift+Backspace** — Send it to the Trash now.
- **Esc** — Dismiss. The file just stays in Downloads.

Tip: hover the toast to pause the countdown.

You don&apos;t have to keep this file — it&apos;s only here for the demonstration.

— Dowsel
</source>
        <extracomment>Contents of the onboarding practice README file</extracomment>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>SettingsPage</name>
    <message>
        <source>Files you mark as temporary will be moved to the Trash %1 %2 after you mark them.</source>
        <translation>Los archivos que marques como temporales irán a la papelera %1 %2 después de marcarlos.</translation>
    </message>
</context>
<context>
    <name>ShareMenu</name>
    <message>
        <source>Email</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Bluetooth</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>SupportMail</name>
    <message>
        <source>[describe what&apos;s up here]</source>
        <translation>[describe aquí lo que ocurre]</translation>
    </message>
    <message>
        <source>Dowsel support</source>
        <translation>Soporte de Dowsel</translation>
    </message>
</context>
<context>
    <name>TimeInputView</name>
    <message>
        <source>Try: 2h · 30 min · 1d 4h</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Expires %1 today</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Expires %1 tomorrow</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Expires %1 at %2</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>TrackedFile</name>
    <message>
        <source>Folder</source>
        <translation>Carpeta</translation>
    </message>
</context>
<context>
    <name>dowsel::BrowseButton</name>
    <message>
        <source>Browse</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>dowsel::MoreMenuViewModel</name>
    <message>
        <source>Open</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Share &amp; Delete</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Copy &amp; Delete</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Delete</source>
        <translation type="unfinished">Eliminar</translation>
    </message>
</context>
<context>
    <name>dowsel::MoveInputView</name>
    <message>
        <source>Move to…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Create</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>dowsel::PermissionRow</name>
    <message>
        <source>Open Settings</source>
        <translation>Abrir configuración</translation>
    </message>
</context>
<context>
    <name>dowsel::PopoverItemDelegate</name>
    <message>
        <source>Keep All</source>
        <translation>Conservar todo</translation>
    </message>
    <message>
        <source>Mark as temporary</source>
        <translation>Marcar como temporal</translation>
    </message>
    <message>
        <source>Keep all temporary files</source>
        <translation>Conservar todos los archivos temporales</translation>
    </message>
    <message>
        <source>Hide ignored files</source>
        <translation>Ocultar archivos ignorados</translation>
    </message>
    <message>
        <source>Show ignored files</source>
        <translation>Mostrar archivos ignorados</translation>
    </message>
</context>
<context>
    <name>dowsel::PopoverListModel</name>
    <message>
        <source>Temporary — auto-delete</source>
        <translation>Temporales — se eliminan solos</translation>
    </message>
    <message>
        <source>Ignored / already there</source>
        <translation>Ignorados / ya estaban</translation>
    </message>
</context>
<context>
    <name>dowsel::PopoverWindow</name>
    <message>
        <source>Settings</source>
        <translation>Configuración</translation>
    </message>
    <message>
        <source>Downloads folder is clean</source>
        <translation>La carpeta de descargas está limpia</translation>
    </message>
    <message>
        <source>Back</source>
        <translation>Atrás</translation>
    </message>
    <message>
        <source>Keep</source>
        <translation>Conservar</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Eliminar</translation>
    </message>
</context>
<context>
    <name>dowsel::QtToastHost</name>
    <message>
        <source>Try a shortcut on the toast above, or let it run out.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Time&apos;s up. The toast stays until you act on it.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Done. The practice file is where you left it.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No program to share with is installed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Choose a destination folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Move Here</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>dowsel::SettingsPage</name>
    <message>
        <source>Privacy Policy</source>
        <translation>Política de privacidad</translation>
    </message>
    <message>
        <source>Terms of Use</source>
        <translation>Condiciones de uso</translation>
    </message>
    <message>
        <source>Legal Notice</source>
        <translation>Aviso legal</translation>
    </message>
    <message>
        <source>Acknowledgements</source>
        <translation>Agradecimientos</translation>
    </message>
    <message>
        <source>Quit Dowsel</source>
        <translation>Salir de Dowsel</translation>
    </message>
    <message>
        <source>Auto-delete temporary files after</source>
        <translation>Eliminar los archivos temporales tras</translation>
    </message>
    <message>
        <source>Apply expiry to extracted archives</source>
        <translation>Aplicar la caducidad a los archivos extraídos</translation>
    </message>
    <message>
        <source>When you unzip a temporary archive, the extracted folder inherits the archive&apos;s expiry without prompting again.</source>
        <translation>Al descomprimir un archivo temporal, la carpeta extraída hereda su caducidad sin volver a preguntar.</translation>
    </message>
    <message>
        <source>Permissions</source>
        <translation>Permisos</translation>
    </message>
    <message>
        <source>Downloads access</source>
        <translation>Acceso a Descargas</translation>
    </message>
    <message>
        <source>Keyboard shortcuts</source>
        <translation>Atajos de teclado</translation>
    </message>
    <message>
        <source>Replay Onboarding</source>
        <translation>Repetir la introducción</translation>
    </message>
    <message>
        <source>Drop a practice file</source>
        <translation>Dejar un archivo de práctica</translation>
    </message>
    <message>
        <source>Drops a harmless practice file in your Downloads so you can rehearse the shortcuts on a real toast.</source>
        <translation>Deja un archivo de práctica inofensivo en Descargas para que ensayes los atajos con un aviso real.</translation>
    </message>
    <message>
        <source>Help &amp; legal</source>
        <translation>Ayuda y avisos legales</translation>
    </message>
    <message>
        <source>Contact</source>
        <translation>Contacto</translation>
    </message>
    <message>
        <source>Lets Dowsel see new files in your Downloads folder.</source>
        <translation>Permite a Dowsel ver los archivos nuevos de tu carpeta de descargas.</translation>
    </message>
    <message>
        <source>Dowsel&apos;s key combinations power the global shortcuts.</source>
        <translation>Las combinaciones de teclas de Dowsel hacen funcionar los atajos globales.</translation>
    </message>
    <message>
        <source>Taken by another program: %1</source>
        <translation>Ocupadas por otro programa: %1</translation>
    </message>
</context>
<context>
    <name>dowsel::TimeInputView</name>
    <message>
        <source>e.g. 2h, 30 min, 1d 4h</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>dowsel::TrayIcon</name>
    <message>
        <source>Quit Dowsel</source>
        <translation>Salir de Dowsel</translation>
    </message>
</context>
</TS>
