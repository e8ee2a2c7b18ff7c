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
        <translation>Te damos la bienvenida a Dowsel</translation>
    </message>
    <message>
        <source>Dowsel watches your Downloads folder for new files and helps you sort them or auto-clean them — all from a little toast at the top of your screen.</source>
        <translation>Dowsel vigila los archivos nuevos de tu carpeta de descargas y te ayuda a ordenarlos o a limpiarlos automáticamente — todo desde un pequeño aviso en la parte superior de la pantalla.</translation>
    </message>
    <message>
        <source>Get Started</source>
        <translation>Empezar</translation>
    </message>
    <message>
        <source>Allow access to Downloads</source>
        <translation>Permitir el acceso a Descargas</translation>
    </message>
    <message>
        <source>Dowsel needs to see new files in your Downloads folder. It only checks that it can read the folder — there is nothing to allow.</source>
        <translation>Dowsel necesita ver los archivos nuevos de tu carpeta de descargas. Solo comprueba que puede leer la carpeta — no hay nada que autorizar.</translation>
    </message>
    <message>
        <source>Grant Access</source>
        <translation>Conceder acceso</translation>
    </message>
    <message>
        <source>Enable keyboard shortcuts</source>
        <translation>Activar los atajos de teclado</translation>
    </message>
    <message>
        <source>Shortcuts let you keep, move, or clean a download without reaching for the mouse. Dowsel checks that no other program already uses them.</source>
        <translation>Los atajos te permiten conservar, mover o limpiar una descarga sin tocar el ratón. Dowsel comprueba que ningún otro programa los esté usando ya.</translation>
    </message>
    <message>
        <source>Keep</source>
        <translation>Conservar</translation>
    </message>
    <message>
        <source>Move</source>
        <translation>Mover</translation>
    </message>
    <message>
        <source>More</source>
        <translation>Más</translation>
    </message>
    <message>
        <source>Enable Shortcuts</source>
        <translation>Activar atajos</translation>
    </message>
    <message>
        <source>Try it on a real file</source>
        <translation>Pruébalo con un archivo real</translation>
    </message>
    <message>
        <source>Dowsel will drop a little practice file in your Downloads so you can see the toast for real and try the shortcuts. Don&apos;t worry — it&apos;s harmless, and you decide what happens to it.</source>
        <translation>Dowsel dejará un pequeño archivo de práctica en Descargas para que veas el aviso de verdad y pruebes los atajos. No te preocupes — es inofensivo y tú decides qué pasa con él.</translation>
    </message>
    <message>
        <source>Test it now</source>
        <translation>Probar ahora</translation>
    </message>
    <message>
        <source>Access was denied. Make your Downloads folder readable under Permissions in your file manager, then try again.</source>
        <translation>Se denegó el acceso. Haz que tu carpeta de descargas se pueda leer en Permisos de tu gestor de archivos y vuelve a intentarlo.</translation>
    </message>
    <message>
        <source>There is no Downloads folder at %1 yet. Dowsel can create it for you.</source>
        <translation>Todavía no hay ninguna carpeta de descargas en %1. Dowsel puede crearla por ti.</translation>
    </message>
    <message>
        <source>Another program already uses %1. Free them in your desktop&apos;s keyboard settings, or skip — the other shortcuts and the toast&apos;s buttons still work.</source>
        <translation>Otro programa ya usa %1. Libéralos en la configuración de teclado de tu escritorio u omite este paso — los demás atajos y los botones del aviso siguen funcionando.</translation>
    </message>
    <message>
        <source>Global shortcuts aren&apos;t available on this desktop. Skip this step — the toast&apos;s buttons still work.</source>
        <translation>Los atajos globales no están disponibles en este escritorio. Omite este paso — los botones del aviso siguen funcionando.</translation>
    </message>
    <message>
        <source>The practice toast didn&apos;t show up — Dowsel may not be watching your Downloads folder yet. Try again, or skip for now.</source>
        <translation>El aviso de práctica no apareció — puede que Dowsel aún no esté vigilando tu carpeta de descargas. Vuelve a intentarlo u omite este paso por ahora.</translation>
    </message>
    <message>
        <source>Open File Manager</source>
        <translation>Abrir el gestor de archivos</translation>
    </message>
    <message>
        <source>Open Settings</source>
        <translation>Abrir configuración</translation>
    </message>
    <message>
        <source>Waiting for permission…</source>
        <translation>Esperando permiso…</translation>
    </message>
    <message>
        <source>Checking shortcuts…</source>
        <translation>Comprobando atajos…</translation>
    </message>
    <message>
        <source>Create Folder</source>
        <translation>Crear carpeta</translation>
    </message>
    <message>
        <source>Try Again</source>
        <translation>Reintentar</translation>
    </message>
    <message>
        <source>Downloads access granted</source>
        <translation>Acceso a Descargas concedido</translation>
    </message>
    <message>
        <source>Shortcuts active</source>
        <translation>Atajos activos</translation>
    </message>
    <message>
        <source>Keep it — Dowsel auto-deletes it in </source>
        <translation>Consérvalo — Dowsel lo eliminará automáticamente en </translation>
    </message>
    <message>
        <source>Keep it for a custom amount of time you choose.</source>
        <translation>Consérvalo durante el tiempo que tú elijas.</translation>
    </message>
    <message>
        <source>Move it somewhere, with fuzzy search.</source>
        <translation>Muévelo a otro sitio, con búsqueda aproximada.</translation>
    </message>
    <message>
        <source>More — open, copy, share, or delete.</source>
        <translation>Más — abrir, copiar, compartir o eliminar.</translation>
    </message>
    <message>
        <source>Dismiss — the file just stays in Downloads.</source>
        <translation>Descártalo — el archivo se queda en Descargas.</translation>
    </message>
    <message>
        <source>Done</source>
        <translation>Listo</translation>
    </message>
    <message>
        <source>Your practice file is live — try the shortcuts on it.</source>
        <translation>Tu archivo de práctica ya está aquí — prueba los atajos con él.</translation>
    </message>
    <message>
        <source>Hover the toast to pause the countdown.</source>
        <translation>Pasa el puntero sobre el aviso para pausar el temporizador.</translation>
    </message>
    <message>
        <source>Time&apos;s up. Dowsel just leaves it in your Downloads — no rush, keep exploring.</source>
        <translation>Se acabó el tiempo. Dowsel simplemente lo deja en Descargas — sin prisa, sigue explorando.</translation>
    </message>
    <message>
        <source>Nice — you&apos;ve got the hang of it!</source>
        <translation>¡Muy bien — ya sabes cómo funciona!</translation>
    </message>
    <message>
        <source>Your practice file now wears the “Dowsel: Temporary” tag — file managers that show tags, such as Dolphin, display it. That&apos;s how Dowsel marks anything temporary. Open Dowsel from the system tray anytime to see how long it has left.</source>
        <translation>Tu archivo de práctica lleva ahora la etiqueta “Dowsel: Temporary” — los gestores de archivos que admiten etiquetas, como Dolphin, la muestran. Así marca Dowsel todo lo temporal. Abre Dowsel desde la bandeja del sistema cuando quieras para ver cuánto tiempo le queda.</translation>
    </message>
    <message>
        <source>Your practice file is all yours — keep it, move it, or toss it whenever. You&apos;re ready to go.</source>
        <translation>Tu archivo de práctica es todo tuyo — consérvalo, muévelo o tíralo cuando quieras. Ya puedes empezar.</translation>
    </message>
    <message>
        <source>All right</source>
        <translation>De acuerdo</translation>
    </message>
    <message>
        <source>Change the time in Settings</source>
        <translation>Cambiar el tiempo en Configuración</translation>
    </message>
    <message>
        <source>Skip for now</source>
        <translation>Omitir por ahora</translation>
    </message>
    <message>
        <source>Shortcuts let you keep, move, or clean a download without reaching for the mouse. Your desktop binds them for Dowsel — it may ask you to confirm or change the keys.</source>
        <translation>Los atajos te permiten conservar, mover o limpiar una descarga sin tocar el ratón. Tu escritorio los asigna para Dowsel; puede pedirte que confirmes o cambies las teclas.</translation>
    </message>
    <message>
        <source>You declined Dowsel&apos;s shortcuts in your desktop&apos;s dialog. To use the keyboard anyway, bind these commands to keys in its keyboard settings — each acts on the toast that is showing.</source>
        <translation>Rechazaste los atajos de Dowsel en el diálogo de tu escritorio. Para usar el teclado de todos modos, asigna estas órdenes a teclas en sus ajustes de teclado: cada una actúa sobre el aviso que se muestra.</translation>
    </message>
    <message>
        <source>Your desktop took Dowsel&apos;s shortcuts but gave them no keys. Give them keys in its shortcut settings if it lists them, or bind these commands to keys — each acts on the toast that is showing.</source>
        <translation>Tu escritorio aceptó los atajos de Dowsel pero no les dio teclas. Dales teclas en sus ajustes de atajos si los muestra, o asigna estas órdenes a teclas: cada una actúa sobre el aviso que se muestra.</translation>
    </message>
    <message>
        <source>Your desktop doesn&apos;t let Dowsel set up its own shortcuts. Bind these commands to keys in its keyboard settings — each acts on the toast that is showing.</source>
        <translation>Tu escritorio no deja que Dowsel configure sus propios atajos. Asigna estas órdenes a teclas en sus ajustes de teclado: cada una actúa sobre el aviso que se muestra.</translation>
    </message>
    <message>
        <source>I&apos;ve Bound Them</source>
        <translation>Ya las asigné</translation>
    </message>
    <message>
        <source>Waiting for your desktop…</source>
        <translation>Esperando a tu escritorio…</translation>
    </message>
    <message>
        <source>Commands bound</source>
        <translation>Órdenes asignadas</translation>
    </message>
    <message>
        <source>Your practice file is live — try the keys you bound on it.</source>
        <translation>Tu archivo de práctica está listo: prueba en él las teclas que asignaste.</translation>
    </message>
</context>
<context>
    <name>PortalKeyGrabber</name>
    <message>
        <source>Keep the new download as a temporary file</source>
        <translation>Conservar la nueva descarga como archivo temporal</translation>
    </message>
    <message>
        <source>Type how long to keep the new download</source>
        <translation>Escribir cuánto tiempo conservar la nueva descarga</translation>
    </message>
    <message>
        <source>Share the new download</source>
        <translation>Compartir la nueva descarga</translation>
    </message>
    <message>
        <source>Copy the new download</source>
        <translation>Copiar la nueva descarga</translation>
    </message>
    <message>
        <source>Open the new download</source>
        <translation>Abrir la nueva descarga</translation>
    </message>
    <message>
        <source>Move the new download to a folder</source>
        <translation>Mover la nueva descarga a una carpeta</translation>
    </message>
    <message>
        <source>More actions for the new download</source>
        <translation>Más acciones para la nueva descarga</translation>
    </message>
    <message>
        <source>Move the new download to the Trash</source>
        <translation>Mover la nueva descarga a la papelera</translation>
    </message>
    <message>
        <source>Move the new download to the Trash when it is a copy</source>
        <translation>Mover la nueva descarga a la papelera cuando es una copia</translation>
    </message>
    <message>
        <source>Close the toast and leave the download alone</source>
        <translation>Cerrar el aviso y dejar la descarga como está</translation>
    </message>
</context>
<context>
    <name>PracticeFile</name>
    <message>
        <source>Dowsel README.md</source>
        <extracomment>Practice file name; keep the .md extension</extracomment>
        <translation>Dowsel README.md</translation>
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
        <translation># Te damos la bienvenida a Dowsel 🧹

Dowsel vigila tu carpeta de descargas y te ayuda a mantenerla ordenada. Cada vez que aparece un archivo nuevo, se muestra un pequeño aviso para que decidas qué hacer con él — directamente desde el teclado.

Este archivo es solo una demostración para que practiques. Mientras se muestra su aviso, prueba:

- **Super+Shift+T** — Conservarlo. Dowsel lo eliminará automáticamente más tarde (tú eliges cuándo, en Configuración).
- **Super+Shift+Alt+T** — Conservarlo durante el tiempo que elijas.
- **Super+Shift+M** — Moverlo a otro sitio, con búsqueda aproximada.
- **Super+Shift+.** — Más: abrir, copiar, compartir o eliminar.
- **Super+Shift+Backspace** — Enviarlo ahora mismo a la papelera.
- **Esc** — Descartarlo. El archivo se queda en Descargas.

Consejo: pasa el puntero sobre el aviso para pausar el temporizador.

No tienes que conservar este archivo — solo está aquí para la demostración.

— Dowsel
</translation>
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
        <translation>Correo electrónico</translation>
    </message>
    <message>
        <source>Bluetooth</source>
        <translation>Bluetooth</translation>
    </message>
</context>
<context>
    <name>ShortcutCommands</name>
    <message>
        <source>In GNOME: Settings → Keyboard → View and Customize Shortcuts → Custom Shortcuts, add one for each command.</source>
        <translation>En GNOME: Configuración → Teclado → Ver y personalizar atajos → Atajos personalizados; añade uno por cada orden.</translation>
    </message>
    <message>
        <source>In KDE Plasma: System Settings → Shortcuts → Add New → Command or Script, one for each command.</source>
        <translation>En KDE Plasma: Preferencias del sistema → Accesos rápidos → Añadir nuevo → Orden o script, uno por cada orden.</translation>
    </message>
    <message>
        <source>In sway: one line per command in ~/.config/sway/config, as “bindsym $mod+Shift+t exec dowsel toast keep”, then reload sway.</source>
        <translation>En sway: una línea por orden en ~/.config/sway/config, como «bindsym $mod+Shift+t exec dowsel toast keep», y luego recarga sway.</translation>
    </message>
    <message>
        <source>In your desktop&apos;s keyboard settings, add a custom shortcut that runs each command.</source>
        <translation>En los ajustes de teclado de tu escritorio, añade un atajo personalizado que ejecute cada orden.</translation>
    </message>
    <message>
        <source>Keep it as a temporary file</source>
        <translation>Conservarlo como archivo temporal</translation>
    </message>
    <message>
        <source>Keep it for two hours (any duration Dowsel reads)</source>
        <translation>Conservarlo dos horas (cualquier duración que Dowsel entienda)</translation>
    </message>
    <message>
        <source>Type how long to keep it</source>
        <translation>Escribir cuánto tiempo conservarlo</translation>
    </message>
    <message>
        <source>Move it to a folder</source>
        <translation>Moverlo a una carpeta</translation>
    </message>
    <message>
        <source>The More menu</source>
        <translation>El menú Más</translation>
    </message>
    <message>
        <source>Open it</source>
        <translation>Abrirlo</translation>
    </message>
    <message>
        <source>Copy it</source>
        <translation>Copiarlo</translation>
    </message>
    <message>
        <source>Share it</source>
        <translation>Compartirlo</translation>
    </message>
    <message>
        <source>Move it to the Trash</source>
        <translation>Moverlo a la papelera</translation>
    </message>
    <message>
        <source>When it is a copy of a file already there, move the copy to the Trash</source>
        <translation>Si es una copia de un archivo que ya estaba, mover la copia a la papelera</translation>
    </message>
    <message>
        <source>Dismiss the toast; the file stays</source>
        <translation>Descartar el aviso; el archivo se queda</translation>
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
        <translation>Prueba: 2h · 30 min · 1d 4h</translation>
    </message>
    <message>
        <source>Expires %1 today</source>
        <translation>Caduca hoy a las %1</translation>
    </message>
    <message>
        <source>Expires %1 tomorrow</source>
        <translation>Caduca mañana a las %1</translation>
    </message>
    <message>
        <source>Expires %1 at %2</source>
        <translation>Caduca el %1 a las %2</translation>
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
    <name>TrackedFileStore</name>
    <message>
        <source>the Trash that holds it, %1, is not there (a drive that is not connected?)</source>
        <translation>la papelera que lo contiene, %1, no está (¿una unidad que no está conectada?)</translation>
    </message>
</context>
<context>
    <name>UserNotices</name>
    <message>
        <source>Dowsel could not start</source>
        <translation>Dowsel no ha podido iniciarse</translation>
    </message>
    <message>
        <source>Dowsel cannot open its list of the files it keeps track of: %1
The file was left as it is. Move it away or repair it, then start Dowsel again.</source>
        <translation>Dowsel no puede abrir su lista de los archivos que sigue: %1
El archivo se ha dejado tal como estaba. Muévelo a otro sitio o repáralo y vuelve a iniciar Dowsel.</translation>
    </message>
    <message>
        <source>Dowsel started a new list of your downloads</source>
        <translation>Dowsel ha empezado una lista nueva de tus descargas</translation>
    </message>
    <message>
        <source>Its list of the files it keeps track of was damaged (%1). The old list was moved to %2 and a new one was started with the files now in Downloads. Files you had kept as temporary will not go to the Trash by themselves.</source>
        <translation>Su lista de los archivos que sigue estaba dañada (%1). La lista antigua se ha movido a %2 y se ha empezado una nueva con los archivos que hay ahora en Descargas. Los archivos que habías conservado como temporales ya no irán solos a la Papelera.</translation>
    </message>
    <message>
        <source>Dowsel cannot save its list of your downloads</source>
        <translation>Dowsel no puede guardar su lista de tus descargas</translation>
    </message>
    <message>
        <source>Its list of the files it keeps track of was damaged (%1) and could not be replaced: %2. Until Dowsel starts again, nothing it tracks is saved.</source>
        <translation>Su lista de los archivos que sigue estaba dañada (%1) y no se ha podido sustituir: %2. Hasta que Dowsel vuelva a iniciarse, no se guarda nada de lo que sigue.</translation>
    </message>
    <message>
        <source>A file could not go to the Trash</source>
        <translation>Un archivo no ha podido ir a la Papelera</translation>
    </message>
    <message>
        <source>%1 expired, but the Trash refused it: %2. It stays in %3.</source>
        <translation>%1 ha caducado, pero la Papelera lo ha rechazado: %2. Se queda en %3.</translation>
    </message>
    <message numerus="yes">
        <source>and %n more</source>
        <translation>
            <numerusform>y %n más</numerusform>
            <numerusform>y %n más</numerusform>
        </translation>
    </message>
    <message>
        <source>They expired, but the Trash refused them; they stay where they are.</source>
        <translation>Han caducado, pero la Papelera los ha rechazado; se quedan donde están.</translation>
    </message>
    <message numerus="yes">
        <source>%n files could not go to the Trash</source>
        <translation>
            <numerusform>%n archivo no ha podido ir a la Papelera</numerusform>
            <numerusform>%n archivos no han podido ir a la Papelera</numerusform>
        </translation>
    </message>
    <message>
        <source>Dowsel cannot save changes</source>
        <translation>Dowsel no puede guardar los cambios</translation>
    </message>
    <message>
        <source>Its list of the files it keeps track of cannot be written: %1. Dowsel keeps trying; new downloads are kept in memory until the list can be written again.</source>
        <translation>No se puede escribir su lista de los archivos que sigue: %1. Dowsel sigue intentándolo; las descargas nuevas se guardan en memoria hasta que la lista pueda escribirse de nuevo.</translation>
    </message>
    <message numerus="yes">
        <source>%n new download(s) wait to be recorded</source>
        <translation>
            <numerusform>%n descarga nueva espera a registrarse</numerusform>
            <numerusform>%n descargas nuevas esperan a registrarse</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>dowsel::BacklogPage</name>
    <message>
        <source>Make temporary</source>
        <translation>Hacer temporales</translation>
    </message>
    <message>
        <source>Move to Trash</source>
        <translation>Mover a la Papelera</translation>
    </message>
    <message>
        <source>They go to the Trash when the default expiry passes</source>
        <translation>Irán a la Papelera cuando pase la caducidad predeterminada</translation>
    </message>
    <message numerus="yes">
        <source>%n file(s) selected, %1 in all</source>
        <translation>
            <numerusform>%n archivo seleccionado, %1 en total</numerusform>
            <numerusform>%n archivos seleccionados, %1 en total</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>dowsel::BrowseButton</name>
    <message>
        <source>Browse</source>
        <translation>Examinar</translation>
    </message>
</context>
<context>
    <name>dowsel::DynamicIslandToastView</name>
    <message>
        <source>Mark temporary</source>
        <translation>Marcar temporal</translation>
    </message>
    <message>
        <source>Custom time…</source>
        <translation>Otro plazo…</translation>
    </message>
    <message>
        <source>Move</source>
        <translation>Mover</translation>
    </message>
    <message>
        <source>More</source>
        <translation>Más</translation>
    </message>
    <message>
        <source>Trash the copy</source>
        <translation>Copia a la Papelera</translation>
    </message>
    <message>
        <source>Same as %1</source>
        <translation>Igual que %1</translation>
    </message>
    <message numerus="yes">
        <source>%n of them already in Downloads</source>
        <translation>
            <numerusform>%n de ellos ya está en Descargas</numerusform>
            <numerusform>%n de ellos ya están en Descargas</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>dowsel::FreedesktopNotifier</name>
    <message>
        <source>Close</source>
        <translation>Cerrar</translation>
    </message>
</context>
<context>
    <name>dowsel::MoreMenuViewModel</name>
    <message>
        <source>Open</source>
        <translation>Abrir</translation>
    </message>
    <message>
        <source>Share &amp; Delete</source>
        <translation>Compartir y eliminar</translation>
    </message>
    <message>
        <source>Copy &amp; Delete</source>
        <translation>Copiar y eliminar</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Eliminar</translation>
    </message>
</context>
<context>
    <name>dowsel::MoveInputView</name>
    <message>
        <source>Move to…</source>
        <translation>Mover a…</translation>
    </message>
    <message>
        <source>Create</source>
        <translation>Crear</translation>
    </message>
    <message>
        <source>Cannot create</source>
        <translation>No se puede crear</translation>
    </message>
    <message>
        <source>one name; type / to nest</source>
        <translation>un solo nombre; escribe / para anidar</translation>
    </message>
</context>
<context>
    <name>dowsel::MoveInputViewModel</name>
    <message>
        <source>Only folders inside your home folder can be created</source>
        <translation>Solo se pueden crear carpetas dentro de tu carpeta personal</translation>
    </message>
    <message>
        <source>&quot;.&quot; and &quot;..&quot; are not folder names</source>
        <translation>&quot;.&quot; y &quot;..&quot; no son nombres de carpeta</translation>
    </message>
    <message>
        <source>A folder name can be at most 255 bytes long</source>
        <translation>Un nombre de carpeta puede tener como máximo 255 bytes</translation>
    </message>
    <message>
        <source>A folder name cannot hold a null character</source>
        <translation>Un nombre de carpeta no puede contener un carácter nulo</translation>
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
    <name>dowsel::PermissionsManager</name>
    <message>
        <source>the desktop&apos;s shortcuts portal bound them</source>
        <translation>el portal de atajos del escritorio los asignó</translation>
    </message>
    <message>
        <source>%1 came from outside a terminal, as from a key binding</source>
        <translation>%1 llegó desde fuera de una terminal, como desde un atajo de teclado</translation>
    </message>
    <message>
        <source>you said you bound the “dowsel toast” commands</source>
        <translation>dijiste que asignaste las órdenes «dowsel toast»</translation>
    </message>
    <message>
        <source>Bind the “dowsel toast” commands (keep, move, dismiss…) in your desktop&apos;s keyboard settings and tick “I have bound these commands”; the toast&apos;s buttons work meanwhile.</source>
        <translation>Asigna las órdenes «dowsel toast» (keep, move, dismiss…) en los ajustes de teclado de tu escritorio y marca «Ya asigné estas órdenes»; mientras tanto, los botones del aviso funcionan.</translation>
    </message>
    <message>
        <source>Waiting for the desktop&apos;s shortcuts portal to answer.</source>
        <translation>Esperando la respuesta del portal de atajos del escritorio.</translation>
    </message>
    <message>
        <source>The desktop took Dowsel&apos;s shortcuts but gave them no keys yet. Give Dowsel&apos;s entries keys in the desktop&apos;s shortcut settings if it lists them, or bind the “dowsel toast” commands there and tick “I have bound these commands”; the toast&apos;s buttons work meanwhile.</source>
        <translation>El escritorio aceptó los atajos de Dowsel pero aún no les dio teclas. Dales teclas a las entradas de Dowsel en los ajustes de atajos del escritorio si las muestra, o asigna allí las órdenes «dowsel toast» y marca «Ya asigné estas órdenes»; mientras tanto, los botones del aviso funcionan.</translation>
    </message>
    <message>
        <source>The shortcuts were declined in the desktop&apos;s dialog.</source>
        <translation>Los atajos se rechazaron en el diálogo del escritorio.</translation>
    </message>
    <message>
        <source>This desktop has no global shortcuts portal, and on Wayland Dowsel&apos;s own key combinations reach it only while an X11 window has the focus.</source>
        <translation>Este escritorio no tiene portal de atajos globales, y en Wayland las combinaciones de teclas de Dowsel solo le llegan mientras una ventana X11 tiene el foco.</translation>
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
    <message>
        <source>Put back</source>
        <translation>Restaurar</translation>
    </message>
    <message>
        <source>Make all temporary</source>
        <translation>Hacer todos temporales</translation>
    </message>
    <message>
        <source>Review…</source>
        <translation>Revisar…</translation>
    </message>
    <message>
        <source>Move it back to where it was</source>
        <translation>Devolverlo a donde estaba</translation>
    </message>
    <message>
        <source>Change the age</source>
        <translation>Cambiar la antigüedad</translation>
    </message>
    <message>
        <source>A program has it open: it goes to the Trash once it is closed</source>
        <translation>Un programa lo tiene abierto: irá a la Papelera cuando se cierre</translation>
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
    <message>
        <source>Recently moved to the Trash</source>
        <translation>Enviados a la Papelera hace poco</translation>
    </message>
    <message>
        <source>in use</source>
        <translation>en uso</translation>
    </message>
    <message numerus="yes">
        <source>%n file(s) older than %1 days</source>
        <translation>
            <numerusform>%n archivo de más de %1 días</numerusform>
            <numerusform>%n archivos de más de %1 días</numerusform>
        </translation>
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
    <message>
        <source>It was not kept.</source>
        <translation>No se ha conservado.</translation>
    </message>
    <message>
        <source>%1 was not moved to the Trash: %2</source>
        <translation>%1 no se ha movido a la Papelera: %2</translation>
    </message>
    <message>
        <source>It was not made temporary.</source>
        <translation>No se ha marcado como temporal.</translation>
    </message>
    <message numerus="yes">
        <source>%n file(s) were not kept.</source>
        <translation>
            <numerusform>No se ha conservado %n archivo.</numerusform>
            <numerusform>No se han conservado %n archivos.</numerusform>
        </translation>
    </message>
    <message>
        <source>Dowsel&apos;s list of files could not be written: another program may hold it, or the disk is full.</source>
        <translation>No se ha podido escribir la lista de archivos de Dowsel: puede que otro programa la tenga abierta o que el disco esté lleno.</translation>
    </message>
    <message>
        <source>Old files</source>
        <translation>Archivos antiguos</translation>
    </message>
    <message>
        <source>%1 was not put back: %2</source>
        <translation>No se ha restaurado %1: %2</translation>
    </message>
    <message>
        <source>Its folder %1 was made again.</source>
        <translation>Se ha vuelto a crear su carpeta %1.</translation>
    </message>
    <message>
        <source>%1 was taken, so it is back as %2.</source>
        <translation>%1 ya existía, así que ha vuelto como %2.</translation>
    </message>
    <message numerus="yes">
        <source>%n file(s) were not made temporary.</source>
        <translation>
            <numerusform>No se ha hecho temporal %n archivo.</numerusform>
            <numerusform>No se han hecho temporales %n archivos.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n file(s) were not moved to the Trash:</source>
        <translation>
            <numerusform>No se ha podido mover %n archivo a la Papelera:</numerusform>
            <numerusform>No se han podido mover %n archivos a la Papelera:</numerusform>
        </translation>
    </message>
    <message>
        <source>Older than %1 days</source>
        <translation>De más de %1 días</translation>
    </message>
</context>
<context>
    <name>dowsel::QtToastHost</name>
    <message>
        <source>Try a shortcut on the toast above, or let it run out.</source>
        <translation>Prueba un atajo en el aviso de arriba o deja que se agote el tiempo.</translation>
    </message>
    <message>
        <source>Time&apos;s up. The toast stays until you act on it.</source>
        <translation>Se acabó el tiempo. El aviso se queda hasta que hagas algo con él.</translation>
    </message>
    <message>
        <source>Done. The practice file is where you left it.</source>
        <translation>Listo. El archivo de práctica está donde lo dejaste.</translation>
    </message>
    <message>
        <source>No program to share with is installed</source>
        <translation>No hay ningún programa instalado con el que compartir</translation>
    </message>
    <message>
        <source>Choose a destination folder</source>
        <translation>Elige una carpeta de destino</translation>
    </message>
    <message>
        <source>Move Here</source>
        <translation>Mover aquí</translation>
    </message>
    <message>
        <source>Moving %1: %2 of %3</source>
        <translation>Moviendo %1: %2 de %3</translation>
    </message>
</context>
<context>
    <name>dowsel::SettingsPage</name>
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
        <source>Taken by another program: %1</source>
        <translation>Ocupadas por otro programa: %1</translation>
    </message>
    <message>
        <source>Read Me</source>
        <translation>Léame</translation>
    </message>
    <message>
        <source>Privacy Statement</source>
        <translation>Declaración de privacidad</translation>
    </message>
    <message>
        <source>Licence (GPL 3.0 or later)</source>
        <translation>Licencia (GPL 3.0 o posterior)</translation>
    </message>
    <message>
        <source>Start Dowsel at login</source>
        <translation>Iniciar Dowsel al iniciar sesión</translation>
    </message>
    <message>
        <source>Dowsel is listed in your desktop&apos;s startup applications; turning it off there works too, and Dowsel never turns it back on by itself.</source>
        <translation>Dowsel figura entre las aplicaciones de inicio de tu escritorio; también puedes desactivarlo allí, y Dowsel nunca vuelve a activarlo por su cuenta.</translation>
    </message>
    <message>
        <source>Could not change the startup entry: %1</source>
        <translation>No se pudo cambiar la entrada de inicio: %1</translation>
    </message>
    <message>
        <source>Open File Manager</source>
        <translation>Abrir el gestor de archivos</translation>
    </message>
    <message>
        <source>The global shortcuts let you keep, move or clean a download without reaching for the mouse.</source>
        <translation>Los atajos globales te permiten conservar, mover o limpiar una descarga sin tocar el ratón.</translation>
    </message>
    <message>
        <source>The global shortcuts let you keep, move or clean a download without reaching for the mouse. Free Dowsel&apos;s key combinations in your desktop&apos;s keyboard settings to turn them on; the toast&apos;s buttons work meanwhile.</source>
        <translation>Los atajos globales te permiten conservar, mover o limpiar una descarga sin tocar el ratón. Libera las combinaciones de teclas de Dowsel en la configuración de teclado de tu escritorio para activarlos; mientras tanto, los botones del aviso funcionan.</translation>
    </message>
    <message>
        <source>Working: %1.</source>
        <translation>Funcionan: %1.</translation>
    </message>
</context>
<context>
    <name>dowsel::ShortcutCommandsList</name>
    <message>
        <source>Copy</source>
        <translation>Copiar</translation>
    </message>
    <message>
        <source>%1 — for example on %2</source>
        <translation>%1; por ejemplo, con %2</translation>
    </message>
    <message>
        <source>Copy “%1”</source>
        <translation>Copiar «%1»</translation>
    </message>
    <message>
        <source>I have bound these commands</source>
        <translation>Ya asigné estas órdenes</translation>
    </message>
    <message>
        <source>Dowsel has seen %1 arrive from outside a terminal, as from a key binding.</source>
        <translation>Dowsel ha visto llegar %1 desde fuera de una terminal, como desde un atajo de teclado.</translation>
    </message>
    <message>
        <source>Copied</source>
        <translation>Copiado</translation>
    </message>
</context>
<context>
    <name>dowsel::TimeInputView</name>
    <message>
        <source>e.g. 2h, 30 min, 1d 4h</source>
        <translation>p. ej., 2h, 30 min, 1d 4h</translation>
    </message>
</context>
<context>
    <name>dowsel::ToastController</name>
    <message>
        <source>Nothing was moved</source>
        <translation>No se ha movido nada</translation>
    </message>
    <message>
        <source>Cannot move into %1: %2</source>
        <translation>No se puede mover a %1: %2</translation>
    </message>
    <message>
        <source>The files of the toast were handled elsewhere before a folder was chosen.</source>
        <translation>Los archivos del aviso se gestionaron desde otro sitio antes de elegir una carpeta.</translation>
    </message>
    <message>
        <source>The toast no longer covers any file.</source>
        <translation>El aviso ya no tiene ningún archivo.</translation>
    </message>
    <message>
        <source>%1 was copied, not moved</source>
        <translation>%1 se ha copiado, no movido</translation>
    </message>
    <message>
        <source>%1 was not moved</source>
        <translation>%1 no se ha movido</translation>
    </message>
    <message>
        <source>%1 was not moved to the Trash</source>
        <translation>%1 no se ha movido a la Papelera</translation>
    </message>
    <message>
        <source>%1, which it copies, is no longer in Downloads.</source>
        <translation>%1, del que es copia, ya no está en Descargas.</translation>
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
