<?php

namespace QMR\WebDav;

use Sabre\DAV;

/**
 * A directory of the served tree that keeps dead properties (FSExt) and
 * reports a quota a test controls, instead of the disk's free space, so
 * storage-space reads have exact numbers to compare against.
 */
class QuotaDirectory extends DAV\FSExt\Directory {

    /** @var string path of the JSON file {"used": N, "available": M} */
    private $quotaFile;

    public function __construct($path, $quotaFile) {

        parent::__construct($path);
        $this->quotaFile = $quotaFile;

    }

    /**
     * Children that are directories (made by MKCOL) must answer the quota
     * properties too, so they are built from this class.
     */
    public function getChild($name) {

        $path = $this->path . '/' . $name;

        if ($name == '.' || $name == '..') throw new DAV\Exception\Forbidden('Permission denied to . and ..');
        // The dead-property store of a directory lives inside it; it is not a resource.
        if ($name == '.sabredav' || !file_exists($path)) throw new DAV\Exception\NotFound('File could not be located');

        if (is_dir($path)) return new QuotaDirectory($path, $this->quotaFile);
        return new DAV\FSExt\File($path);

    }

    /**
     * The dead-property store shares the directory with the files; a PUT or
     * MKCOL of that name would destroy every property of the collection.
     */
    public function createFile($name, $data = null) {

        if ($name == '.sabredav') throw new DAV\Exception\Forbidden('Reserved name');
        return parent::createFile($name, $data);

    }

    public function createDirectory($name) {

        if ($name == '.sabredav') throw new DAV\Exception\Forbidden('Reserved name');
        parent::createDirectory($name);

    }

    public function childExists($name) {

        if ($name == '.sabredav') return false;
        return parent::childExists($name);

    }

    /**
     * @return array [used bytes, available bytes]
     */
    public function getQuotaInfo() {

        $quota = QuotaFile::read($this->quotaFile);
        return array($quota['used'], $quota['available']);

    }

}
