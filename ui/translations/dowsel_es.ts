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
    <name>SettingsPage</name>
    <message>
        <source>Files you mark as temporary will be moved to the Trash %1 %2 after you mark them.</source>
        <translation>Los archivos que marques como temporales irán a la papelera %1 %2 después de marcarlos.</translation>
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
    <name>TrackedFile</name>
    <message>
        <source>Folder</source>
        <translation>Carpeta</translation>
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
    <name>dowsel::TrayIcon</name>
    <message>
        <source>Quit Dowsel</source>
        <translation>Salir de Dowsel</translation>
    </message>
</context>
</TS>
